// The element node of an XML document.
#include "modelcore/xml/XMLElement.h"

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/internal/Escape.h"
#include "modelcore/xml/internal/NodeMemory.h"
#include "modelcore/xml/internal/NodeWriter.h"

#include <algorithm>
#include <memory>

namespace MCXML_930 {

using internal::NodeKind;

XMLElement::XMLElement(std::string_view name, bool isPlain) : NodeLink(NodeKind::Element, isPlain, name.size())
{
    std::ranges::copy(name, reinterpret_cast<char*>(this + 1));
}

XMLElement* XMLElement::Make(std::string_view name, bool isPlain)
{
    return new (internal::AllocateNode(sizeof(XMLElement) + name.size())) XMLElement(name, isPlain);
}

XMLElement* XMLElement::Create(const std::string& name)
{
    return Make(name, internal::IsASCII(name));
}

XMLElement::~XMLElement()
{
    if (fParent != nullptr) fParent->Remove(this);
    // Each element is deleted after its own ring has moved into this one, so that no destructor calls itself.
    while (fLast != nullptr) {
        NodeLink* const node = fLast->Next();
        if (node == fLast) {
            fLast = nullptr;
        } else {
            fLast->UnlinkNext();
        }
        switch (node->GetKind()) {
        case NodeKind::Attribute: delete static_cast<XMLAttribute*>(node); break;
        case NodeKind::Text: delete static_cast<XMLString*>(node); break;
        case NodeKind::Element: {
            auto* const element = static_cast<XMLElement*>(node);
            if (fLast == nullptr) {
                fLast = element->fLast;
            } else if (element->fLast != nullptr) {
                fLast->Splice(element->fLast);
            }
            element->fLast = nullptr;
            element->fParent = nullptr;
            delete element;
        }
        }
    }
}

XMLElement* XMLElement::Clone() const
{
    std::unique_ptr<XMLElement> root(Make(Name(), IsPlain()));

    // source and target are the same element in both trees; node goes through the ring of source.
    const XMLElement* source = this;
    XMLElement* target = root.get();
    const NodeLink* node = fLast != nullptr ? fLast->Next() : nullptr;
    while (node != nullptr) {
        if (node->GetKind() == NodeKind::Attribute) {
            target->Append(static_cast<const XMLAttribute*>(node)->Clone());
        } else if (node->GetKind() == NodeKind::Text) {
            target->Append(static_cast<const XMLString*>(node)->Clone());
        } else {
            const auto* const element = static_cast<const XMLElement*>(node);
            XMLElement* const copy = Make(element->Name(), element->IsPlain());
            target->Adopt(copy);
            if (element->fLast != nullptr) {
                source = element;
                target = copy;
                node = element->fLast->Next();
                continue;
            }
        }
        while (node == source->fLast && source != this) {
            node = source;
            source = source->fParent;
            target = target->fParent;
        }
        node = node != source->fLast ? node->Next() : nullptr;
    }
    return root.release();
}

int XMLElement::AddElement(XMLElement* child)
{
    if (child == nullptr || child == this || child->IsOwned()) return -1;
    if (HangsBelow(*child)) return -1;
    Adopt(child);
    return 0;
}

int XMLElement::AddElement(XMLString* text)
{
    if (text == nullptr || text->IsOwned()) return -1;
    Append(text);
    return 0;
}

int XMLElement::AddAttribute(XMLAttribute* attribute)
{
    if (attribute == nullptr || attribute->IsOwned()) return -1;
    Adopt(attribute);
    return 0;
}

int XMLElement::AddAttribute(const std::string& name, const std::string& value)
{
    Adopt(XMLAttribute::Create(name, value));
    return 0;
}

int XMLElement::AddAttribute(const std::string& name, double value)
{
    Adopt(XMLAttribute::Create(name, value));
    return 0;
}

int XMLElement::AddAttribute(const std::string& name, double value, bool fixed)
{
    Adopt(XMLAttribute::Create(name, value, fixed));
    return 0;
}

// Goes up from here and through the other's subtree by turns: a small subtree is added in no time to a deep tree, and a
// large one to a shallow tree.
bool XMLElement::HangsBelow(const XMLElement& root) const
{
    const XMLElement* element = &root; // whose ring node is in
    const NodeLink* node = root.fLast != nullptr ? root.fLast->Next() : nullptr;
    for (const XMLElement* ancestor = fParent; ancestor != nullptr && node != nullptr; ancestor = ancestor->fParent) {
        if (ancestor == &root || node == this) return true;
        const bool isElement = node->GetKind() == NodeKind::Element;
        if (isElement && static_cast<const XMLElement*>(node)->fLast != nullptr) {
            element = static_cast<const XMLElement*>(node);
            node = element->fLast->Next();
            continue;
        }
        while (node == element->fLast && element != &root) {
            node = element;
            element = element->fParent;
        }
        node = node != element->fLast ? node->Next() : nullptr;
    }
    return false;
}

void XMLElement::Remove(const NodeLink* node)
{
    NodeLink* before = fLast;
    while (before->Next() != node) before = before->Next();
    before->UnlinkNext();
    if (fLast == node) fLast = before != node ? before : nullptr;
}

void XMLElement::Append(NodeLink* node)
{
    node->LinkBehind(fLast);
    fLast = node;
}

void XMLElement::Adopt(XMLElement* child)
{
    Append(child);
    child->fParent = this;
}

void XMLElement::Adopt(XMLAttribute* attribute)
{
    if (!HasChildren()) return Append(attribute);
    // Behind the last attribute; when there is none, behind the last child, which is before the first.
    NodeLink* before = fLast;
    while (before->Next()->IsAttribute()) before = before->Next();
    attribute->LinkBehind(before);
}

int XMLElement::ToString(std::string& out, ExportFormat& fmt) const
{
    internal::NodeWriter writer(out);
    writer.WriteElement(*this, fmt);
    writer.Finish();
    return 0;
}

int XMLElement::ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const
{
    internal::NodeWriter writer(os, utf8);
    writer.WriteElement(*this, fmt);
    writer.Finish();
    return 0;
}

std::size_t XMLElement::BlockSize() const
{
    return sizeof(XMLElement) + GetLength();
}

void XMLElement::operator delete(XMLElement* node, std::destroying_delete_t)
{
    const std::size_t size = node->BlockSize();
    node->~XMLElement();
    internal::ReleaseNode(node, size);
}

} // namespace MCXML_930
