// The element node of an XML document.
#include "modelcore/xml/XMLElement.h"

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/internal/Escape.h"
#include "modelcore/xml/internal/NodeWriter.h"

#include <algorithm>
#include <memory>

namespace MCXML_930 {

using internal::NodeLink;

XMLElement::XMLElement(std::string_view name, bool isPlain) : NodeLink(true, isPlain, name.size())
{
    std::ranges::copy(name, reinterpret_cast<char*>(this + 1));
}

XMLElement* XMLElement::Make(std::string_view name, bool isPlain)
{
    return new (::operator new(sizeof(XMLElement) + name.size())) XMLElement(name, isPlain);
}

XMLElement* XMLElement::Create(const std::string& name)
{
    return Make(name, internal::IsASCII(name));
}

XMLElement::~XMLElement()
{
    // Each child is deleted after its own children have moved into this ring, so that no destructor calls itself.
    while (fLastChild != nullptr) {
        NodeLink* const node = fLastChild->Next();
        if (node == fLastChild) {
            fLastChild = nullptr;
        } else {
            fLastChild->UnlinkNext();
        }
        if (!node->IsElement()) {
            delete static_cast<XMLString*>(node);
            continue;
        }
        auto* const element = static_cast<XMLElement*>(node);
        if (element->fLastChild != nullptr) {
            if (fLastChild == nullptr) {
                fLastChild = element->fLastChild;
            } else {
                fLastChild->Splice(element->fLastChild);
            }
            element->fLastChild = nullptr;
        }
        delete element;
    }
    if (fLastAttribute != nullptr) {
        NodeLink* link = fLastAttribute->Next();
        while (link != fLastAttribute) {
            NodeLink* const next = link->Next();
            delete static_cast<XMLAttribute*>(link);
            link = next;
        }
        delete static_cast<XMLAttribute*>(link);
    }
}

XMLElement* XMLElement::Clone() const
{
    std::unique_ptr<XMLElement> root(Make(Name(), IsPlain()));
    CopyAttributesTo(*root);

    const XMLElement* source = this;
    XMLElement* target = root.get();
    const NodeLink* child = fLastChild != nullptr ? fLastChild->Next() : nullptr;
    while (child != nullptr) {
        if (!child->IsElement()) {
            target->Adopt(static_cast<const XMLString*>(child)->Clone());
        } else {
            const auto* const element = static_cast<const XMLElement*>(child);
            XMLElement* const copy = Make(element->Name(), element->IsPlain());
            target->Adopt(copy);
            element->CopyAttributesTo(*copy);
            if (element->fLastChild != nullptr) {
                source = element;
                target = copy;
                child = element->fLastChild->Next();
                continue;
            }
        }
        while (child == source->fLastChild && source != this) {
            child = source;
            source = source->fParent;
            target = target->fParent;
        }
        child = child != source->fLastChild ? child->Next() : nullptr;
    }
    return root.release();
}

void XMLElement::CopyAttributesTo(XMLElement& copy) const
{
    if (fLastAttribute == nullptr) return;
    const NodeLink* link = fLastAttribute;
    do {
        link = link->Next();
        copy.Adopt(static_cast<const XMLAttribute*>(link)->Clone());
    } while (link != fLastAttribute);
}

int XMLElement::AddElement(XMLElement* child)
{
    if (child == nullptr || child == this || child->IsOwned()) return -1;
    // An element without children cannot hold this one, so that trees built from the root down pay nothing here.
    if (child->fLastChild != nullptr)
        for (const XMLElement* ancestor = fParent; ancestor != nullptr; ancestor = ancestor->fParent)
            if (ancestor == child) return -1;
    Adopt(child);
    return 0;
}

int XMLElement::AddElement(XMLString* text)
{
    if (text == nullptr || text->IsOwned()) return -1;
    Adopt(text);
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

void XMLElement::Adopt(XMLElement* child)
{
    child->LinkBehind(fLastChild);
    child->fParent = this;
    fLastChild = child;
}

void XMLElement::Adopt(XMLString* text)
{
    text->LinkBehind(fLastChild);
    fLastChild = text;
}

void XMLElement::Adopt(XMLAttribute* attribute)
{
    attribute->LinkBehind(fLastAttribute);
    fLastAttribute = attribute;
}

int XMLElement::ToString(std::string& out, ExportFormat& fmt) const
{
    internal::NodeWriter(out).WriteElement(*this, fmt);
    return 0;
}

int XMLElement::ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const
{
    internal::NodeWriter writer(os, utf8);
    writer.WriteElement(*this, fmt);
    writer.Finish();
    return 0;
}

} // namespace MCXML_930
