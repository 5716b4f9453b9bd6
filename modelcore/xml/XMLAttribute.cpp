// The attribute node of an XML document.
#include "modelcore/xml/XMLAttribute.h"

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/internal/Escape.h"
#include "modelcore/xml/internal/NodeWriter.h"
#include "modelcore/xml/internal/NumberText.h"

#include <algorithm>

namespace MCXML_930 {

namespace {

/// What stands around name and value in ="".
constexpr std::size_t kMarks = 3;

} // namespace

XMLAttribute::XMLAttribute(std::string_view name, std::string_view value, bool isPlain)
    : NodeLink(false, isPlain, name.size() + value.size() + kMarks), fNameLength(name.size())
{
    char* out = reinterpret_cast<char*>(this + 1);
    out = std::ranges::copy(name, out).out;
    *out++ = '=';
    *out++ = '"';
    out = std::ranges::copy(value, out).out;
    *out = '"';
}

XMLAttribute* XMLAttribute::Make(std::string_view name, std::string_view value, bool isPlain)
{
    void* const block = ::operator new(sizeof(XMLAttribute) + name.size() + value.size() + kMarks);
    return new (block) XMLAttribute(name, value, isPlain);
}

XMLAttribute* XMLAttribute::Create(const std::string& name, const std::string& value)
{
    return Make(name, value, internal::IsASCII(name) && internal::IsPlainValue(value));
}

XMLAttribute* XMLAttribute::Create(const std::string& name, double value)
{
    char text[internal::kNumberRoom];
    const char* const end = internal::WriteNumber(text, value);
    return Make(name, std::string_view(text, end), internal::IsASCII(name));
}

XMLAttribute* XMLAttribute::Create(const std::string& name, double value, bool fixed)
{
    if (!fixed) return Create(name, value);
    char text[internal::kNumberRoom];
    const char* const end = internal::WriteFixedNumber(text, value);
    return Make(name, std::string_view(text, end), internal::IsASCII(name));
}

XMLAttribute* XMLAttribute::Clone() const
{
    return Make(Name(), Value(), IsPlain());
}

int XMLAttribute::ToString(std::string& out, ExportFormat&) const
{
    internal::NodeWriter(out).WriteAttribute(*this);
    return 0;
}

int XMLAttribute::ToStream(std::ostream& os, ExportFormat&, bool utf8) const
{
    internal::NodeWriter writer(os, utf8);
    writer.WriteAttribute(*this);
    writer.Finish();
    return 0;
}

} // namespace MCXML_930
