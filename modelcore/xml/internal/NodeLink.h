// What the nodes that an element owns have in common besides the node interface.
#pragma once

#include <cstdint>

namespace MCXML_930::internal {

enum class NodeKind : unsigned char { Attribute, Text, Element };

/// The part of a node that lets an element own it: its place in the ring of the element's attributes and children, and
/// how many characters of text stand behind the object. An element points to the last node of its ring, and the last to
/// the first: appending, walking and joining rings take one pointer a node.
class NodeLink {
public:
    NodeLink(const NodeLink&) = delete;
    NodeLink& operator=(const NodeLink&) = delete;

    NodeKind GetKind() const { return static_cast<NodeKind>(fKind); }
    bool IsAttribute() const { return GetKind() == NodeKind::Attribute; }
    /// ASCII without a character that needs a reference: written as it stands in every mode.
    bool IsPlain() const { return fIsPlain != 0; }
    std::uint64_t GetLength() const { return fLength; }

    bool IsOwned() const { return fNext != nullptr; }
    NodeLink* Next() const { return fNext; }

    /// Puts this node behind another of a ring; with null, makes it a ring of its own.
    void LinkBehind(NodeLink* other)
    {
        if (other == nullptr) {
            fNext = this;
            return;
        }
        fNext = other->fNext;
        other->fNext = this;
    }

    /// Takes the node behind this one out of the ring.
    void UnlinkNext() { fNext = fNext->fNext; }

    /// Moves a whole ring, given by its last node, in behind this node.
    void Splice(NodeLink* last)
    {
        NodeLink* const first = last->fNext;
        last->fNext = fNext;
        fNext = first;
    }

protected:
    NodeLink(NodeKind kind, bool isPlain, std::uint64_t length)
        : fKind(static_cast<unsigned char>(kind) & 3u), fIsPlain(isPlain ? 1u : 0u), fLength(length & kLargestLength)
    {}
    ~NodeLink() = default;

private:
    static constexpr std::uint64_t kLargestLength = (std::uint64_t{1} << 61) - 1;

    NodeLink* fNext = nullptr;
    std::uint64_t fKind : 2;
    std::uint64_t fIsPlain : 1;
    std::uint64_t fLength : 61;
};

} // namespace MCXML_930::internal
