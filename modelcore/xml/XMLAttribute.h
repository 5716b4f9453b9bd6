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

/// Name and value of an attribute. Both are kept unescaped, as `name="value"` right behind the object in the same
/// block of memory (32 bytes and that text), so that an attribute without special characters is written by one copy.
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

    static void operator delete(void* block) { ::operator delete(block); }

private:
    friend class XMLElement;
    friend class internal::NodeWriter;

    XMLAttribute(std::string_view name, std::string_view value, bool isPlain);
    static XMLAttribute* Make(std::string_view name, std::string_view value, bool isPlain);
    static void* operator new(std::size_t, void* block) { return block; }

    std::string_view AsWritten() const { return {reinterpret_cast<const char*>(this + 1), GetLength()}; }
    std::string_view Name() const { return AsWritten().substr(0, fNameLength); }
    std::string_view Value() const { return AsWritten().substr(fNameLength + 2, GetLength() - fNameLength - 3); }

    std::size_t fNameLength;
};

} // namespace MCXML_930
