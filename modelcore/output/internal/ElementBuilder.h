// An element under construction.
#pragma once

#include "modelcore/xml/XMLElement.h"

#include <concepts>
#include <memory>
#include <string>
#include <vector>

namespace MCXML_930::internal {

/// Builds one element attribute by attribute and child by child, and deletes it if that does not come to an end.
class ElementBuilder {
public:
    explicit ElementBuilder(const std::string& name) : fElement(XMLElement::Create(name)) {}

    ElementBuilder& Attribute(const std::string& name, const std::string& value)
    {
        fElement->AddAttribute(name, value);
        return *this;
    }
    ElementBuilder& Attribute(const std::string& name, const char* value)
    {
        return Attribute(name, std::string(value));
    }
    /// A bool is "true" or "false", any other number is written as a double.
    template <class Number>
    requires std::is_arithmetic_v<Number> ElementBuilder& Attribute(const std::string& name, Number value)
    {
        if constexpr (std::same_as<Number, bool>) return Attribute(name, value ? "true" : "false");
        fElement->AddAttribute(name, static_cast<double>(value));
        return *this;
    }
    ElementBuilder& Child(XMLElement* child)
    {
        fElement->AddElement(child);
        return *this;
    }
    ElementBuilder& Children(const std::vector<XMLElement*>& children)
    {
        for (XMLElement* const child : children) Child(child);
        return *this;
    }
    XMLElement& Element() { return *fElement; }
    XMLElement* Release() { return fElement.release(); }

private:
    std::unique_ptr<XMLElement> fElement;
};

} // namespace MCXML_930::internal
