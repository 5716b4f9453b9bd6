// The attribute node of an XML document.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/xml/XMLInterface.h"
#include "modelcore/xml/internal/NodeLink.h"

#include <cstddef>
#include <iosfwd>
#include <new>
#include <string>
#include <string_view>

namespace MCXML_930 {

namespace internal {
class NodeWriter;
}

/// Name and value of an attribute. Both are kept unescaped, as ` name="value"` right behind the object in the same
/// block of memory: 24 bytes and that text. An attribute without special characters is so written by one copy; only one
/// with such characters keeps the length of its name too, before the text.
class MODELCORE_EXPORT XMLAttribute final : public XMLInterface, private internal::NodeLink {
public:
    /// A new attribute, owned by the caller.
    static XMLAttribute* Create(const std::string& name, const std::string& value);

    /// The value is written with at most 15 significant digits, as Format(value, false, nullptr) does. System-missing
    /// is a number like any other.
    static XMLAttribute* Create(const std::string& name, double value);

    /// @param fixed  true writes 16 digits after the decimal point, as ReplaceSep(value, nullptr) does; false is
    ///               Create(name, value)
    static XMLAttribute* Create(const std::string& name, double value, bool fixed);

    /// Appends name="value" with the value escaped as XMLUtil::Escape does, and no blank before it.
    int ToString(std::string& out, ExportFormat& fmt) const override;
    int ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const override;
    XMLAttribute* Clone() const override;

    /// Deletes the node and its text, which share one block of memory.
    static void operator delete(XMLAttribute* node, std::destroying_delete_t);

private:
    friend class XMLElement;
    friend class internal::NodeWriter;

    XMLAttribute(std::size_t length, bool isPlain);
    static XMLAttribute* Allocate(std::size_t length, bool isPlain);
    static XMLAttribute* Make(std::string_view name, std::string_view value, bool isPlain);
    static void* operator new(std::size_t, void* block) { return block; }
    std::size_t BlockSize() const;

    static constexpr std::size_t PrefixSize(bool isPlain) { return isPlain ? 0 : sizeof(std::size_t); }
    char* Block() { return reinterpret_cast<char*>(this + 1); }
    const char* Block() const { return reinterpret_cast<const char*>(this + 1); }
    /// The text ` name="value"` with the value unescaped.
    std::string_view BlankAndText() const { return {Block() + PrefixSize(IsPlain()), GetLength()}; }
    std::string_view Text() const { return BlankAndText().substr(1); }
    /// Name and value of an attribute that is not plain.
    std::size_t NameLength() const;
    std::string_view Name() const { return Text().substr(0, NameLength()); }
    std::string_view Value() const { return Text().substr(NameLength() + 2, Text().size() - NameLength() - 3); }
};

} // namespace MCXML_930
