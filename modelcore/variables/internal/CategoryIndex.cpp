#include "modelcore/variables/internal/CategoryIndex.h"

#include "modelcore/common/MCMV.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numeric>

namespace MCXML_930::internal {

using MCCommon_930::MCMV;
using MCCommon_930::Value;

namespace {

enum Kind : std::uint8_t { kNone, kBool, kReal, kBigInteger, kText };

/// Whether the integer is a double exactly. 2^63 as a double is beyond the integers and must not be converted back.
bool IsReal(long long integer)
{
    const auto real = static_cast<double>(integer);
    return real < 0x1p63 && static_cast<long long>(real) == integer;
}

/// The finisher of MurmurHash3 (Appleby).
std::uint64_t Mix(std::uint64_t hash)
{
    hash = (hash ^ (hash >> 33)) * 0xff51afd7ed558ccdu;
    hash = (hash ^ (hash >> 33)) * 0xc4ceb9fe1a85ec53u;
    return hash ^ (hash >> 33);
}

/// Eight bytes at a time; the value never leaves the process, so the byte order of the machine does not matter.
std::uint64_t HashOf(std::string_view text)
{
    std::uint64_t hash = 0x9E3779B97F4A7C15u ^ text.size();
    std::size_t i = 0;
    for (std::uint64_t word = 0; i + 8 <= text.size(); i += 8) {
        std::memcpy(&word, text.data() + i, 8);
        hash = std::rotl((hash ^ word) * 0x9E3779B97F4A7C15u, 29);
    }
    std::uint64_t tail = 0;
    std::memcpy(&tail, text.data() + i, text.size() - i);
    return Mix(hash ^ tail);
}

/// An integer that is no double beside a number.
int CompareBig(long long big, double x)
{
    if (x >= 0x1p63) return -1;
    if (x < -0x1p63) return 1;
    const auto whole = static_cast<long long>(x); // beyond 2^53 every double is whole
    return big < whole ? -1 : big > whole ? 1 : 0;
}

int CompareNumbers(const Value& a, const Value& b)
{
    const bool aInteger = a.GetType() == Value::TypeInteger;
    const bool bInteger = b.GetType() == Value::TypeInteger;
    if (aInteger && bInteger) return a.GetInteger() < b.GetInteger() ? -1 : a.GetInteger() > b.GetInteger() ? 1 : 0;
    if (aInteger && !IsReal(a.GetInteger())) return CompareBig(a.GetInteger(), b.GetReal());
    if (bInteger && !IsReal(b.GetInteger())) return -CompareBig(b.GetInteger(), a.GetReal());
    const double x = aInteger ? static_cast<double>(a.GetInteger()) : a.GetReal();
    const double y = bInteger ? static_cast<double>(b.GetInteger()) : b.GetReal();
    return x < y ? -1 : x > y ? 1 : 0;
}

} // namespace

bool IsUnknown(double x)
{
    return MCMV::IsMissing(x) || std::isnan(x);
}

bool IsUnknown(const Value& value)
{
    return value.IsNull() || (value.GetType() == Value::TypeReal && IsUnknown(value.GetReal()));
}

bool ToNumber(const Value& value, double& x)
{
    if (value.GetType() == Value::TypeInteger)
        x = static_cast<double>(value.GetInteger());
    else if (value.GetType() == Value::TypeReal || value.IsNull())
        x = value.GetReal();
    else
        return false;
    return true;
}

int CompareCategories(const Value& a, const Value& b)
{
    const auto kind = [](const Value& v) {
        return v.GetType() == Value::TypeBool ? 0 : v.IsNumericValue() ? 1 : v.GetType() == Value::TypeString ? 2 : 3;
    };
    if (kind(a) != kind(b)) return kind(a) < kind(b) ? -1 : 1;
    switch (kind(a)) {
    case 0: return static_cast<int>(a.GetBool()) - static_cast<int>(b.GetBool());
    case 1: return CompareNumbers(a, b);
    case 2: return a.GetStringRef().compare(b.GetStringRef());
    default: return 0;
    }
}

CategoryIndex::Key CategoryIndex::KeyOf(double x)
{
    if (IsUnknown(x)) return {};
    const auto word = std::bit_cast<std::uint64_t>(x + 0.0); // -0.0 becomes 0.0
    // Whole numbers differ in their highest bits alone, and the lowest bits of a product depend on the lowest of its
    // factors alone: so the high half is folded onto the low one before and after.
    const std::uint64_t hash = (word ^ (word >> 32)) * 0x9E3779B97F4A7C15u;
    return {hash ^ (hash >> 32), word, kReal};
}

CategoryIndex::Key CategoryIndex::KeyOf(std::string_view text)
{
    const std::uint64_t hash = HashOf(text);
    return {hash, hash, kText};
}

CategoryIndex::Key CategoryIndex::KeyOf(const Value& value)
{
    switch (value.GetType()) {
    case Value::TypeBool: return {static_cast<std::uint64_t>(value.GetBool()), value.GetBool() ? 1u : 0u, kBool};
    case Value::TypeInteger:
        if (IsReal(value.GetInteger())) return KeyOf(static_cast<double>(value.GetInteger()));
        return {Mix(static_cast<std::uint64_t>(value.GetInteger())), static_cast<std::uint64_t>(value.GetInteger()),
                kBigInteger};
    case Value::TypeReal: return KeyOf(value.GetReal());
    case Value::TypeString: return KeyOf(std::string_view(value.GetStringRef()));
    default: return {};
    }
}

int CategoryIndex::Find(const Key& key, std::string_view text) const
{
    if (key.kind == kNone || fvSlots.empty()) return -1;
    for (std::size_t slot = key.hash & (fvSlots.size() - 1);; slot = (slot + 1) & (fvSlots.size() - 1)) {
        const Slot& found = fvSlots[slot];
        if (found.place == 0) return -1;
        if (found.word == key.word && found.kind == key.kind &&
            (key.kind != kText || fvValues[found.place - 1].GetStringRef() == text))
            return static_cast<int>(found.place - 1);
    }
}

int CategoryIndex::Find(double x) const
{
    return Find(KeyOf(x), {});
}

void CategoryIndex::FindAll(std::span<const double> x, int* places) const
{
    const Slot* const slots = fvSlots.data();
    const std::size_t mask = fvSlots.size() - 1;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const Key key = KeyOf(x[i]);
        places[i] = -1;
        if (key.kind == kNone || fvSlots.empty()) continue;
        std::size_t slot = key.hash & mask;
        while (slots[slot].place != 0 && (slots[slot].word != key.word || slots[slot].kind != kReal))
            slot = (slot + 1) & mask;
        places[i] = static_cast<int>(slots[slot].place) - 1;
    }
}

int CategoryIndex::Find(std::string_view text) const
{
    return Find(KeyOf(text), text);
}

int CategoryIndex::Find(const Value& value) const
{
    if (value.GetType() == Value::TypeString) return Find(std::string_view(value.GetStringRef()));
    return Find(KeyOf(value), {});
}

void CategoryIndex::Enter(const Key& key, std::size_t place)
{
    std::size_t slot = key.hash & (fvSlots.size() - 1);
    while (fvSlots[slot].place != 0) slot = (slot + 1) & (fvSlots.size() - 1);
    fvSlots[slot] = {key.word, static_cast<std::uint32_t>(place + 1), key.kind};
}

void CategoryIndex::Rebuild(std::size_t slots)
{
    std::vector<Slot> fresh(slots);
    fvSlots.swap(fresh);
    for (std::size_t i = 0; i < fvValues.size(); ++i) Enter(KeyOf(fvValues[i]), i);
}

int CategoryIndex::Insert(const Value& value)
{
    const int found = Find(value);
    if (found >= 0) {
        if (value.GetType() == Value::TypeInteger) fvValues[static_cast<std::size_t>(found)] = value;
        return found;
    }
    const Key key = KeyOf(value);
    if (key.kind == kNone) return -1;
    if (fvSlots.size() < 2 * (fvValues.size() + 1)) Rebuild(std::max<std::size_t>(16, 2 * fvSlots.size()));
    fvValues.push_back(value.GetType() == Value::TypeReal ? Value(value.GetReal() + 0.0) : value);
    Enter(key, fvValues.size() - 1);
    return Size() - 1;
}

std::vector<int> CategoryIndex::Sort()
{
    std::vector<int> old(fvValues.size());
    std::iota(old.begin(), old.end(), 0);
    std::sort(old.begin(), old.end(), [this](int a, int b) { return CompareCategories(At(a), At(b)) < 0; });
    std::vector<Value> sorted(fvValues.size());
    for (std::size_t i = 0; i < old.size(); ++i) sorted[i].Swap(fvValues[static_cast<std::size_t>(old[i])]);
    fvValues.swap(sorted);
    if (!fvSlots.empty()) Rebuild(fvSlots.size());
    return old;
}

} // namespace MCXML_930::internal
