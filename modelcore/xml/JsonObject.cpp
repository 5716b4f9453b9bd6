// JsonObject: storage, readers, arrays and objects, comparison. The parser and the writer are in JsonParser.cpp and
// JsonWriter.cpp, code pages and Value in JsonValue.cpp.
#include "modelcore/xml/JsonObject.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/xml/internal/Digits.h"
#include "modelcore/xml/internal/JsonBlock.h"
#include "modelcore/xml/internal/JsonText.h"
#include "modelcore/xml/internal/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace MCXML_930 {

using MCCommon_930::MCMV;

namespace {

constinit const JsonObject kNull;

/// Each byte that is not part of a character becomes U+FFFD.
std::string Repaired(std::string_view text)
{
    std::string out;
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at != end;) {
        const std::size_t length = static_cast<unsigned char>(*at) < 0x80 ? 1 : internal::LongCharacter(at, end);
        if (length == 0)
            internal::AppendCodePoint(out, 0xFFFD);
        else
            out.append(at, length);
        at += length == 0 ? 1 : length;
    }
    return out;
}

/// The number that a token of a JSON pointer is; none for "-", leading zeros and what is too large.
std::optional<std::size_t> ArrayIndex(std::string_view token)
{
    std::size_t index = 0;
    if (token.empty() || token[0] < '0' || token[0] > '9' || (token[0] == '0' && token.size() > 1)) return {};
    const char* const end = token.data() + token.size();
    const auto [at, fault] = std::from_chars(token.data(), end, index);
    if (fault != std::errc() || at != end) return {};
    return index;
}

/// Takes the token after the slash at the head of a JSON pointer off it, with ~0 and ~1 replaced. False for no pointer.
bool TakeToken(std::string_view& pointer, std::string& token)
{
    if (pointer[0] != '/') return false;
    pointer.remove_prefix(1);
    const std::size_t length = std::min(pointer.find('/'), pointer.size());
    token.clear();
    for (std::size_t i = 0; i < length; ++i) {
        char c = pointer[i];
        if (c == '~') {
            if (++i == length || (pointer[i] != '0' && pointer[i] != '1')) return false;
            c = pointer[i] == '0' ? '~' : '/';
        }
        token.push_back(c);
    }
    pointer.remove_prefix(length);
    return true;
}

/// Asks for the head of a block before it is needed. A part of what is released has mostly left the caches: parsing and
/// releasing 5 MB of small objects takes 0.85 of the time.
void Prefetch([[maybe_unused]] std::uint64_t address)
{
#ifdef __GNUC__
    constexpr std::uintptr_t kLine = 64;
    for (std::uintptr_t line = 0; line < 4; ++line)
        __builtin_prefetch(reinterpret_cast<const void*>(static_cast<std::uintptr_t>(address) + line * kLine));
#endif
}

} // namespace

// The hash table of an object

std::uint64_t JsonObject::Block::Hash(std::string_view name)
{
    // The seed differs from process to process where addresses do, so that nobody can prepare names that collide.
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
    const std::uint64_t seed = reinterpret_cast<std::uintptr_t>(&kNull) ^ kOdd;
    std::uint64_t hash = seed ^ name.size();
    const auto mix = [&hash, seed](std::uint64_t word) {
        const internal::Product product = internal::Multiply(hash ^ word, seed | 1);
        hash = product.high ^ product.low;
    };
    const char* at = name.data();
    std::size_t left = name.size();
    std::uint64_t word = 0;
    for (; left > sizeof word; left -= sizeof word, at += sizeof word) {
        std::memcpy(&word, at, sizeof word);
        mix(word);
    }
    word = 0;
    std::memcpy(&word, at, left);
    mix(word);
    return hash;
}

std::size_t JsonObject::Block::Find(std::string_view name) const
{
    const Member* const members = Pairs();
    if (index == nullptr) {
        for (std::size_t i = 0; i < count; ++i)
            if (members[i].fName.TextOfString() == name) return i;
        return count;
    }
    const std::uint32_t* const slots = index->Slots();
    for (std::size_t slot = Hash(name) & index->mask; slots[slot] != kFree; slot = (slot + 1) & index->mask)
        if (members[slots[slot]].fName.TextOfString() == name) return slots[slot];
    return count;
}

void JsonObject::Block::Enter(std::size_t i)
{
    std::uint32_t* const slots = index->Slots();
    std::size_t slot = Hash(Pairs()[i].fName.TextOfString()) & index->mask;
    while (slots[slot] != kFree) slot = (slot + 1) & index->mask;
    slots[slot] = static_cast<std::uint32_t>(i);
}

std::size_t JsonObject::Block::EnterOrFind(std::size_t i)
{
    const Member* const members = Pairs();
    const JsonObject& name = members[i].fName;
    if (index == nullptr) {
        std::size_t j = 0;
        while (j < i && !SameString(members[j].fName, name)) ++j;
        return j;
    }
    std::uint32_t* const slots = index->Slots();
    std::size_t slot = Hash(name.TextOfString()) & index->mask;
    for (; slots[slot] != kFree; slot = (slot + 1) & index->mask)
        if (SameString(members[slots[slot]].fName, name)) return slots[slot];
    slots[slot] = static_cast<std::uint32_t>(i);
    return i;
}

void JsonObject::Block::EnterAll()
{
    if (index == nullptr) return;
    FreeSlots();
    for (std::size_t i = 0; i < count; ++i) Enter(i);
}

// Members are entered in their order and leave from the end. So the last one was entered last, and no other stands behind
// its slot because it was taken: nothing has to move up.
void JsonObject::Block::LeaveLast()
{
    if (index == nullptr) return;
    std::uint32_t* const slots = index->Slots();
    const std::size_t mask = index->mask;
    const auto last = static_cast<std::uint32_t>(count - 1);
    std::size_t slot = Hash(Pairs()[last].fName.TextOfString()) & mask;
    while (slots[slot] != last) slot = (slot + 1) & mask;
    slots[slot] = kFree;
}

// Content on the heap

// Containers are copied one at a time, their own containers being left null and put on a list of what is still to copy.
// A copy has its final size, all null, before an address in it is noted, so the addresses hold and it can be released
// at any moment.
void JsonObject::CopyHeap(const JsonObject& other)
{
    struct Pending {
        const JsonObject* from;
        JsonObject* to;
    };
    std::vector<Pending> pending;
    JsonObject made;
    const auto copyOrDefer = [&pending](const JsonObject& from, JsonObject& to) {
        if (!from.OwnsHeap())
            to.CopyPlain(from);
        else if (from.fType == TypeString)
            Make::String(&to, from.TextOfString());
        else
            pending.push_back({&from, &to});
    };
    copyOrDefer(other, made);
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        const Block& source = *from->GetBlock();
        const std::size_t width = from->fType == TypeObject ? 2 : 1;
        Block* const target = Block::New(source.count * width);
        target->count = source.count;
        std::memset(static_cast<void*>(target->Values()), 0, source.count * width * sizeof(JsonObject));
        Make::Container(to, from->GetType(), target);
        if (width == 2) target->index = Block::NewIndex(source.count);
        for (std::size_t i = 0; i < source.count * width; ++i) copyOrDefer(source.Values()[i], target->Values()[i]);
        target->EnterAll(); // names are strings, so they are all there
    }
    Swap(made);
}

// Innermost blocks go first, without recursion and without allocating: a block that is being emptied keeps the way back
// up in place of its table.
void JsonObject::ReleaseHeap() noexcept
{
    const auto textOf = [](const JsonObject& value) {
        return reinterpret_cast<Text*>(static_cast<std::uintptr_t>(value.fData));
    };
    if (fType == TypeString) {
        internal::ReleaseNode(textOf(*this), textOf(*this)->Bytes());
        return BecomeNull();
    }
    internal::NodeRelease release;
    const auto enter = [](Block* block, Block* up, std::uint16_t type) {
        if (type == TypeObject) {
            Block::Delete(block->index);
            block->count *= 2;
        }
        block->up = up;
    };
    Block* current = GetBlock();
    enter(current, nullptr, fType);
    while (current != nullptr) {
        if (current->count == 0) {
            Block* const up = current->up;
            release.Add(current, current->Bytes());
            current = up;
            continue;
        }
        const JsonObject& value = current->Values()[--current->count];
        constexpr std::size_t kAhead = 4;
        if (current->count >= kAhead && (&value - kAhead)->OwnsHeap()) Prefetch((&value - kAhead)->fData);
        if (!value.OwnsHeap()) continue;
        if (value.fType == TypeString) {
            release.Add(textOf(value), textOf(value)->Bytes());
        } else {
            Block* const inner = value.GetBlock();
            enter(inner, current, value.fType);
            current = inner;
        }
    }
    BecomeNull();
}

void JsonObject::Swap(JsonObject& other) noexcept
{
    JsonObject third;
    third.CopyPlain(*this);
    CopyPlain(other);
    other.CopyPlain(third);
    third.BecomeNull();
}

// Construction

JsonObject::JsonObject(double value) noexcept
{
    if (MCMV::IsMissing(value)) return;
    fType = TypeReal;
    fData = std::bit_cast<std::uint64_t>(value);
}

JsonObject::JsonObject(std::string_view utf8) : JsonObject()
{
    if (IsUTF8(utf8))
        Make::String(this, utf8);
    else
        Make::String(this, Repaired(utf8));
}

JsonObject JsonObject::NewArray()
{
    JsonObject array;
    array.fType = TypeArray;
    return array;
}

JsonObject JsonObject::NewObject()
{
    JsonObject object;
    object.fType = TypeObject;
    return object;
}

namespace {

template <class T>
JsonObject ArrayOf(std::span<const T> values)
{
    JsonObject array = JsonObject::NewArray();
    array.Reserve(values.size());
    for (const T& value : values) array.Append(value);
    return array;
}

template <class T>
bool ReadAll(const JsonObject& array, std::vector<T>& values)
{
    if (!array.IsArray()) return false;
    std::vector<T> all(array.Size());
    for (std::size_t i = 0; i < all.size(); ++i)
        if (!array.At(i)->Read(all[i])) return false;
    values.swap(all);
    return true;
}

template <class T>
bool ReadNarrow(const JsonObject& number, T& value)
{
    long long wide = 0;
    if (!number.Read(wide) || !std::in_range<T>(wide)) return false;
    value = static_cast<T>(wide);
    return true;
}

} // namespace

JsonObject JsonObject::FromReals(std::span<const double> values)
{
    return ArrayOf(values);
}

JsonObject JsonObject::FromIntegers(std::span<const int> values)
{
    return ArrayOf(values);
}

JsonObject JsonObject::FromStrings(std::span<const std::string> utf8)
{
    return ArrayOf(utf8);
}

// Readers

bool JsonObject::Read(bool& value) const
{
    if (fType != TypeBool) return false;
    value = fData != 0;
    return true;
}

bool JsonObject::Read(int& value) const
{
    return ReadNarrow(*this, value);
}

bool JsonObject::Read(long& value) const
{
    return ReadNarrow(*this, value);
}

bool JsonObject::Read(long long& value) const
{
    if (fType == TypeReal) {
        const auto real = std::bit_cast<double>(fData);
        if (!(real >= -0x1p63 && real < 0x1p63) || std::trunc(real) != real) return false;
        value = static_cast<long long>(real);
        return true;
    }
    if (fType != TypeInteger) return false;
    value = static_cast<long long>(fData);
    return true;
}

bool JsonObject::Read(double& value) const
{
    switch (fType) {
    case TypeNull: value = MCMV::Missing(); return true;
    case TypeReal: value = std::bit_cast<double>(fData); return true;
    case TypeInteger: {
        // 2^63 is not an integer of 64 bits, so it must not be converted back.
        const auto whole = static_cast<long long>(fData);
        const auto real = static_cast<double>(whole);
        if (real >= 0x1p63 || static_cast<long long>(real) != whole) return false;
        value = real;
        return true;
    }
    case TypeString: return internal::ReadNonFinite(TextOfString(), value);
    default: return false;
    }
}

bool JsonObject::Read(std::string& utf8) const
{
    if (fType != TypeString) return false;
    utf8 = TextOfString();
    return true;
}

bool JsonObject::Read(std::vector<double>& values) const
{
    return ReadAll(*this, values);
}

bool JsonObject::Read(std::vector<int>& values) const
{
    return ReadAll(*this, values);
}

bool JsonObject::Read(std::vector<std::string>& utf8) const
{
    return ReadAll(*this, utf8);
}

std::string_view JsonObject::GetText() const
{
    return fType == TypeString ? TextOfString() : std::string_view();
}

// Arrays and objects

std::size_t JsonObject::Size() const
{
    const Block* const block = IsContainer() ? GetBlock() : nullptr;
    return block != nullptr ? block->count : 0;
}

const JsonObject* JsonObject::At(std::size_t i) const
{
    if (i >= Size()) return nullptr;
    const Block& block = *GetBlock();
    return fType == TypeObject ? &block.Pairs()[i].fValue : block.Values() + i;
}

JsonObject* JsonObject::At(std::size_t i)
{
    return const_cast<JsonObject*>(std::as_const(*this).At(i));
}

std::string_view JsonObject::NameAt(std::size_t i) const
{
    return fType == TypeObject && i < Size() ? GetBlock()->Pairs()[i].Name() : std::string_view();
}

const JsonObject* JsonObject::Find(std::string_view name) const
{
    const Block* const block = fType == TypeObject ? GetBlock() : nullptr;
    if (block == nullptr) return nullptr;
    const std::size_t i = block->Find(name);
    return i < block->count ? &block->Pairs()[i].fValue : nullptr;
}

JsonObject* JsonObject::Find(std::string_view name)
{
    return const_cast<JsonObject*>(std::as_const(*this).Find(name));
}

const JsonObject& JsonObject::operator[](std::string_view name) const
{
    const JsonObject* const found = Find(name);
    return found != nullptr ? *found : kNull;
}

const JsonObject& JsonObject::ElementOrNull(std::size_t i) const
{
    const JsonObject* const found = fType == TypeArray ? At(i) : nullptr;
    return found != nullptr ? *found : kNull;
}

const JsonObject* JsonObject::FindPointer(std::string_view pointer) const
{
    const JsonObject* at = this;
    for (std::string token; !pointer.empty() && at != nullptr;) {
        if (!TakeToken(pointer, token)) return nullptr;
        if (at->fType == TypeArray) {
            const std::optional<std::size_t> i = ArrayIndex(token);
            at = i ? at->At(*i) : nullptr;
        } else {
            at = at->Find(token);
        }
    }
    return at;
}

JsonObject* JsonObject::FindPointer(std::string_view pointer)
{
    return const_cast<JsonObject*>(std::as_const(*this).FindPointer(pointer));
}

std::span<const JsonObject> JsonObject::Elements() const
{
    const Block* const block = fType == TypeArray ? GetBlock() : nullptr;
    return block != nullptr ? std::span(block->Values(), block->count) : std::span<const JsonObject>();
}

std::span<const JsonObject::Member> JsonObject::Members() const
{
    const Block* const block = fType == TypeObject ? GetBlock() : nullptr;
    return block != nullptr ? std::span(block->Pairs(), block->count) : std::span<const Member>();
}

/// Takes a block with more room and moves the values there. Cannot fail.
void JsonObject::Adopt(Type type, Block* block) noexcept
{
    if (Block* const old = IsContainer() ? GetBlock() : nullptr; old != nullptr) {
        Make::Relocate(block->Values(), old->Values(), old->count * (type == TypeObject ? 2 : 1));
        block->count = old->count;
        block->index = old->index;
        Block::Delete(old);
    }
    Make::Container(this, type, block);
}

bool JsonObject::Set(std::string_view name, JsonObject value)
{
    if (fType != TypeObject && fType != TypeNull) return false;
    if (JsonObject* const present = Find(name); present != nullptr) {
        present->Swap(value);
        return true;
    }
    if (!IsUTF8(name)) return false;

    // All that can run out of memory comes first. The name may be a view of this very object.
    JsonObject key;
    Make::String(&key, name);
    const std::size_t count = Size();
    Block* block = fType == TypeObject ? GetBlock() : nullptr;
    const bool crowded =
        count >= Block::kLinear && (block->index == nullptr || count + 1 + (count + 1) / 2 > block->index->mask + 1);
    Make::IndexMemory index(crowded ? Block::NewIndex(2 * (count + 1)) : nullptr);
    if (block == nullptr || 2 * count == block->capacity) {
        block = Block::New(std::max<std::size_t>(8, 4 * count));
        Adopt(TypeObject, block);
    }
    Member* const member = block->Pairs() + count;
    Make::Null(&member->fName)->Swap(key);
    Make::Null(&member->fValue)->Swap(value);
    ++block->count;
    if (index != nullptr) {
        Block::Delete(block->index);
        block->index = index.release();
        block->EnterAll();
    } else if (block->index != nullptr) {
        block->Enter(count);
    }
    return true;
}

bool JsonObject::Append(JsonObject value)
{
    if (fType != TypeArray && fType != TypeNull) return false;
    const std::size_t count = Size();
    Block* block = fType == TypeArray ? GetBlock() : nullptr;
    if (block == nullptr || count == block->capacity) {
        block = Block::New(std::max<std::size_t>(4, 2 * count));
        Adopt(TypeArray, block);
    }
    Make::Null(block->Values() + count)->Swap(value);
    ++block->count;
    return true;
}

bool JsonObject::Remove(std::string_view name)
{
    const Block* const block = fType == TypeObject ? GetBlock() : nullptr;
    return block != nullptr && Remove(block->Find(name));
}

bool JsonObject::Remove(std::size_t i)
{
    const std::size_t count = Size();
    if (i >= count) return false;
    Block& block = *GetBlock();
    const std::size_t width = fType == TypeObject ? 2 : 1;
    if (i + 1 == count && width == 2) block.LeaveLast();
    JsonObject* const at = block.Values() + i * width;
    for (std::size_t part = 0; part < width; ++part) at[part] = JsonObject();
    std::memmove(static_cast<void*>(at), static_cast<const void*>(at + width),
                 (count - i - 1) * width * sizeof(JsonObject));
    --block.count;
    if (i + 1 != count && width == 2) block.EnterAll();
    return true;
}

void JsonObject::Reserve(std::size_t count)
{
    if (!IsContainer()) return;
    const Block* const block = GetBlock();
    const std::size_t width = fType == TypeObject ? 2 : 1;
    if (count > SIZE_MAX / 4 / sizeof(Member)) throw std::bad_alloc();
    if (count * width > (block != nullptr ? block->capacity : 0)) Adopt(GetType(), Block::New(count * width));
}

// Comparison

/// Compares two values; two containers of the same size are put on the list instead.
bool JsonObject::EqualOrDeferred(const JsonObject& a, const JsonObject& b,
                                 std::vector<std::pair<const JsonObject*, const JsonObject*>>& deferred)
{
    if (a.fType != b.fType) return false;
    if (a.fType == TypeString) return SameString(a, b);
    if (!a.IsContainer()) return a.fData == b.fData;
    if (a.Size() != b.Size()) return false;
    if (a.Size() != 0) deferred.emplace_back(&a, &b);
    return true;
}

bool JsonObject::operator==(const JsonObject& other) const
{
    std::vector<std::pair<const JsonObject*, const JsonObject*>> deferred;
    if (!EqualOrDeferred(*this, other, deferred)) return false;
    while (!deferred.empty()) {
        const auto [a, b] = deferred.back();
        deferred.pop_back();
        const Block& left = *a->GetBlock();
        const Block& right = *b->GetBlock();
        for (std::size_t i = 0; i < left.count; ++i) {
            std::size_t j = i;
            if (a->fType == TypeObject) {
                // Mostly the order is the same, too.
                const JsonObject& name = left.Pairs()[i].fName;
                if (!SameString(name, right.Pairs()[j].fName)) j = right.Find(name.TextOfString());
                if (j == right.count) return false;
            }
            if (!EqualOrDeferred(*a->At(i), *b->At(j), deferred)) return false;
        }
    }
    return true;
}

bool JsonObject::IsUTF8(std::string_view text)
{
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at != end;) {
        const std::size_t length = static_cast<unsigned char>(*at) < 0x80 ? 1 : internal::LongCharacter(at, end);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

void JsonObject::Display() const
{
    std::string text;
    ToText(text, true, AsText);
    MCDisplay_930::DisplayStart("JsonObject");
    MCDisplay_930::DisplayLine(text);
    MCDisplay_930::DisplayEnd("JsonObject");
}

} // namespace MCXML_930
