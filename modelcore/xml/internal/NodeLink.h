// What the nodes that an element owns have in common besides the node interface.
#pragma once

#include <cstdint>

namespace MCXML_930::internal {

/// The part of a node that lets an element own it: its place in a ring of children or of attributes, and how many
/// characters of text stand behind the object. An element points to the last of a ring, and the last to the first:
/// appending, walking and joining rings take one pointer a node.
class NodeLink {
public:
    NodeLink(const NodeLink&) = delete;
    NodeLink& operator=(const NodeLink&) = delete;

    bool IsElement() const { return fIsElement != 0; }
    /// ASCII without a character that needs a reference: written as it stands in every mode.
    bool IsPlain() const { return fIsPlain != 0; }
    std::uint64_t GetLength() const { return fLength; }

    bool IsOwned() const { return fNext != nullptr; }
    NodeLink* Next() const { return fNext; }

    /// Puts this node behind the last of a ring, which it then is itself; with null, makes it a ring of its own.
    void LinkBehind(NodeLink* last)
    {
        if (last == nullptr) {
            fNext = this;
            return;
        }
        fNext = last->fNext;
        last->fNext = this;
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
    NodeLink(bool isElement, bool isPlain, std::uint64_t length)
        : fIsElement(isElement ? 1u : 0u), fIsPlain(isPlain ? 1u : 0u), fLength(length & kLargestLength)
    {}
    ~NodeLink() = default;

private:
    static constexpr std::uint64_t kLargestLength = (std::uint64_t{1} << 62) - 1;

    NodeLink* fNext = nullptr;
    std::uint64_t fIsElement : 1;
    std::uint64_t fIsPlain : 1;
    std::uint64_t fLength : 62;
};

} // namespace MCXML_930::internal
