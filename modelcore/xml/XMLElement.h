// The element node of an XML document.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/xml/XMLAttribute.h"
#include "modelcore/xml/XMLInterface.h"
#include "modelcore/xml/XMLString.h"
#include "modelcore/xml/internal/NodeLink.h"

#include <iosfwd>
#include <new>
#include <string>
#include <string_view>

namespace MCXML_930 {

/// A named element with its attributes and children (elements and texts), each in the order in which they were added.
///
/// An element owns its attributes and children and deletes them with itself. Writing, cloning and deleting use the same
/// small stack however deep the tree is. The name stands right behind the object in the same block of memory: 40 bytes
/// and the name.
class MODELCORE_EXPORT XMLElement final : public XMLInterface, private internal::NodeLink {
public:
    /// A new element without attributes and children, owned by the caller.
    static XMLElement* Create(const std::string& name);

    /// Deletes the whole subtree. An element that has a parent leaves it first, which takes time linear in the number of
    /// the parent's children; attributes and texts are not to be deleted while they belong to an element.
    ~XMLElement() override;

    /// Appends the element, its attributes and its children.
    int ToString(std::string& out, ExportFormat& fmt) const override;
    /// Writes the characters of ToString through a buffer, which goes to the stream as a whole when it is full.
    int ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const override;
    /// Copies the whole subtree; the copy has no parent.
    XMLElement* Clone() const override;

    /// Appends a child and takes it over.
    /// @return  0; -1, and nothing changes, when child is null, has a parent already, or holds this element itself in
    ///          its subtree. To find that out takes at most twice the time of the shorter way: from here up to the root,
    ///          or through the child's subtree.
    virtual int AddElement(XMLElement* child);
    /// Appends a text and takes it over.
    /// @return  0; -1, and nothing changes, when text is null or has a parent already
    virtual int AddElement(XMLString* text);

    /// Appends an attribute and takes it over. Two attributes of one name are not noticed.
    /// @return  0; -1, and nothing changes, when attribute is null or belongs to an element already
    int AddAttribute(XMLAttribute* attribute);
    /// Appends XMLAttribute::Create(name, value).
    /// @return  0
    int AddAttribute(const std::string& name, const std::string& value);
    int AddAttribute(const std::string& name, double value);
    /// Appends XMLAttribute::Create(name, value, fixed).
    /// @return  0
    int AddAttribute(const std::string& name, double value, bool fixed);

    /// Deletes the node and its text, which share one block of memory.
    static void operator delete(XMLElement* node, std::destroying_delete_t);

private:
    friend class internal::NodeWriter;

    XMLElement(std::string_view name, bool isPlain);
    static XMLElement* Make(std::string_view name, bool isPlain);
    static void* operator new(std::size_t, void* block) { return block; }
    std::size_t BlockSize() const;

    std::string_view Name() const { return {reinterpret_cast<const char*>(this + 1), GetLength()}; }
    bool HasChildren() const { return fLast != nullptr && !fLast->IsAttribute(); }
    bool HangsBelow(const XMLElement& root) const;
    void Append(NodeLink* node);
    void Remove(const NodeLink* node);
    void Adopt(XMLElement* child);
    void Adopt(XMLAttribute* attribute);

    XMLElement* fParent = nullptr;
    NodeLink* fLast = nullptr; // of the ring of attributes, which come first, and children
};

} // namespace MCXML_930
