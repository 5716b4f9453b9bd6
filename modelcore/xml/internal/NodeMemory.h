// Memory of document nodes.
#pragma once

#include <cstddef>

namespace MCXML_930::internal {

/// Memory for a node of size bytes, aligned for any node.
///
/// A document is many small nodes that come and go together. Each thread takes them one after the other from a slab of
/// its own; a slab is given back when its last node is released, by whatever thread, so that trees may pass between
/// threads. Large nodes have memory of their own. A node that outlives its tree keeps its slab, 8 KB, alive.
void* AllocateNode(std::size_t size);

/// Gives back what AllocateNode gave for the same size.
void ReleaseNode(void* node, std::size_t size) noexcept;

/// Gives back many nodes: those that follow each other in one slab by a single step.
class NodeRelease {
public:
    NodeRelease() = default;
    NodeRelease(const NodeRelease&) = delete;
    NodeRelease& operator=(const NodeRelease&) = delete;
    ~NodeRelease() { Flush(); }

    /// The same as ReleaseNode, now or until this object goes.
    void Add(void* node, std::size_t size) noexcept;

private:
    void Flush() noexcept;

    void* fSlab = nullptr;
    long long fCount = 0;
};

} // namespace MCXML_930::internal
