// An element under construction.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/xml/XMLElement.h"

#include <concepts>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace MCXML_930::internal {

/// What stands in the place of a number that does not exist.
inline constexpr char kMissingWord[] = "__MISSING__";

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
    /// A bool is "true" or "false", any other number is written as a double, the system-missing value as kMissingWord.
    template <class Number>
    requires std::is_arithmetic_v<Number> ElementBuilder& Attribute(const std::string& name, Number value)
    {
        if constexpr (std::same_as<Number, bool>) return Attribute(name, value ? "true" : "false");
        const auto real = static_cast<double>(value);
        if (MCCommon_930::MCMV::IsMissing(real)) return Attribute(name, kMissingWord);
        fElement->AddAttribute(name, real);
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

/// Elements that are added all together or, when one of them cannot be made, not at all.
class ElementsToAdd {
public:
    explicit ElementsToAdd(std::size_t count) { fvElements.reserve(count); }

    /// Takes over one of the elements announced.
    void Add(XMLElement* element) { fvElements.emplace_back(element); }
    void MoveTo(XMLElement& parent)
    {
        for (std::unique_ptr<XMLElement>& element : fvElements) parent.AddElement(element.release());
    }

private:
    std::vector<std::unique_ptr<XMLElement>> fvElements;
};

} // namespace MCXML_930::internal
