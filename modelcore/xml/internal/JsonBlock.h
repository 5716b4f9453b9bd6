// The heap blocks of JsonObject: long strings, and the elements or members of an array or object.
#pragma once

#include "modelcore/xml/JsonObject.h"
#include "modelcore/xml/internal/JsonText.h"
#include "modelcore/xml/internal/NodeMemory.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace MCXML_930 {

/// A string of more than 14 bytes: its length, then its bytes.
struct JsonObject::Text {
    std::size_t size;

    std::string_view View() const { return {reinterpret_cast<const char*>(this + 1), size}; }

    static Text* New(std::string_view text)
    {
        auto* const made = static_cast<Text*>(internal::AllocateNode(sizeof(Text) + text.size()));
        made->size = text.size();
        std::memcpy(static_cast<void*>(made + 1), text.data(), text.size());
        return made;
    }
    std::size_t Bytes() const { return sizeof(Text) + size; }
};

/// The elements of an array, or the members of an object as pairs of a name and a value, in one block: this head, then
/// the values. Values are relocated by copying their bytes.
///
/// An object of more than kLinear members has a hash table of their numbers: open addressing, linear probing, a power
/// of two slots at most two thirds full.
struct JsonObject::Block {
    /// Up to so many members a look through them all is quicker than a hash, and spares the memory.
    static constexpr std::size_t kLinear = 8;
    static constexpr std::uint32_t kFree = 0xFFFFFFFF;

    struct Index {
        std::size_t mask; // slots - 1
        std::uint32_t* Slots() { return reinterpret_cast<std::uint32_t*>(this + 1); }
        const std::uint32_t* Slots() const { return reinterpret_cast<const std::uint32_t*>(this + 1); }
    };

    std::size_t count;    // elements or members; while values are released: those that are left
    std::size_t capacity; // room in values, of which a member takes two
    union {
        Index* index; // null up to kLinear members, and in arrays
        Block* up;    // while values are released: the block that holds this one
    };

    JsonObject* Values() { return reinterpret_cast<JsonObject*>(this + 1); }
    const JsonObject* Values() const { return reinterpret_cast<const JsonObject*>(this + 1); }
    Member* Pairs() { return reinterpret_cast<Member*>(this + 1); }
    const Member* Pairs() const { return reinterpret_cast<const Member*>(this + 1); }

    /// A block with room for so many values and nothing in it.
    static Block* New(std::size_t capacity)
    {
        if (capacity > SIZE_MAX / 4 / sizeof(JsonObject)) throw std::bad_alloc();
        auto* const made = static_cast<Block*>(internal::AllocateNode(sizeof(Block) + capacity * sizeof(JsonObject)));
        made->count = 0;
        made->capacity = capacity;
        made->index = nullptr;
        return made;
    }
    std::size_t Bytes() const { return sizeof(Block) + capacity * sizeof(JsonObject); }
    /// Gives back the block alone, not what its values own.
    static void Delete(Block* block) noexcept { internal::ReleaseNode(block, block->Bytes()); }

    /// A table for so many members with all slots free; null when none is needed.
    static Index* NewIndex(std::size_t members)
    {
        if (members <= kLinear) return nullptr;
        if (members >= kFree) throw std::bad_alloc();
        const std::size_t slots = std::bit_ceil(members + members / 2);
        auto* const made = static_cast<Index*>(internal::AllocateNode(sizeof(Index) + slots * sizeof(std::uint32_t)));
        made->mask = slots - 1;
        std::memset(made->Slots(), 0xFF, slots * sizeof(std::uint32_t));
        return made;
    }

    static void Delete(Index* index) noexcept
    {
        if (index != nullptr) internal::ReleaseNode(index, sizeof(Index) + (index->mask + 1) * sizeof(std::uint32_t));
    }

    /// The number of the member with that name, or count. Looks in the table when there is one.
    std::size_t Find(std::string_view name) const;
    /// Puts member number i into the table; its name must not be there.
    void Enter(std::size_t i);
    /// The number of the first member up to i that has the name of member i: i itself, which is then put into the table
    /// when there is one.
    std::size_t EnterOrFind(std::size_t i);
    void FreeSlots() { std::memset(index->Slots(), 0xFF, (index->mask + 1) * sizeof(std::uint32_t)); }
    /// Frees all slots and enters every member. Needs no memory.
    void EnterAll();
    /// Empties the slot of the last member.
    void LeaveLast();

    static std::uint64_t Hash(std::string_view name);
};

/// What the parser and the class build values from.
struct JsonObject::Make {
    struct Free {
        void operator()(Block::Index* index) const { Block::Delete(index); }
    };
    using IndexMemory = std::unique_ptr<Block::Index, Free>;

    static void Relocate(JsonObject* to, const JsonObject* from, std::size_t count)
    {
        std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), count * sizeof(JsonObject));
    }

    /// Room for a value at an address where none is: a null one.
    static JsonObject* Null(JsonObject* at) { return ::new (static_cast<void*>(at)) JsonObject(); }

    static void Scalar(JsonObject* at, Type type, std::uint64_t data)
    {
        Null(at);
        at->fType = static_cast<std::uint8_t>(type);
        at->fData = data;
    }

    static void Container(JsonObject* at, Type type, Block* block)
    {
        Null(at);
        at->fType = static_cast<std::uint8_t>(type);
        if (block == nullptr) return;
        at->fLength = kOnHeap;
        at->fData = reinterpret_cast<std::uintptr_t>(block);
    }

    /// @param text  valid UTF-8
    static void String(JsonObject* at, std::string_view text)
    {
        if (text.size() > kInPlace) {
            Text* const made = Text::New(text);
            Container(at, TypeString, nullptr);
            at->fLength = kOnHeap;
            at->fData = reinterpret_cast<std::uintptr_t>(made);
            return;
        }
        Null(at);
        at->fType = TypeString;
        const bool isPlain = std::all_of(text.begin(), text.end(), internal::IsPlain);
        at->fLength = static_cast<std::uint8_t>(text.size() | (isPlain ? kPlain : 0));
        std::memcpy(at->InPlace(), text.data(), text.size());
    }

    /// The first eight bytes of a value.
    static std::uint64_t Head(const JsonObject& value)
    {
        std::uint64_t head;
        std::memcpy(&head, static_cast<const void*>(&value), sizeof head);
        return head;
    }

    /// A plain string in place from its words, zero beyond its end, the first byte in the lowest. For little-endian
    /// machines.
    static void PlaceString(JsonObject* at, std::size_t size, std::uint64_t first, std::uint64_t second)
    {
        const std::uint64_t head = first << 16 | std::uint64_t{size | kPlain} << 8 | TypeString;
        std::memcpy(static_cast<void*>(at), &head, sizeof head);
        at->fData = first >> 48 | second << 16;
    }
};

inline JsonObject::Block* JsonObject::GetBlock() const
{
    return fLength == kOnHeap ? reinterpret_cast<Block*>(static_cast<std::uintptr_t>(fData)) : nullptr;
}

inline std::string_view JsonObject::TextOfString() const
{
    if (fLength != kOnHeap) return {InPlace(), static_cast<std::size_t>(fLength & kLengthBits)};
    return reinterpret_cast<const Text*>(static_cast<std::uintptr_t>(fData))->View();
}

/// Whether two strings, each zero beyond its end, are the same.
inline bool JsonObject::SameString(const JsonObject& a, const JsonObject& b)
{
    if (a.fLength != b.fLength) return false;
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): there is no padding
    if (a.fLength != kOnHeap) return std::memcmp(&a, &b, sizeof a) == 0;
    return a.TextOfString() == b.TextOfString();
}

} // namespace MCXML_930
