// The attribute node of an XML document.
#include "modelcore/xml/XMLAttribute.h"

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/internal/Escape.h"
#include "modelcore/xml/internal/NodeMemory.h"
#include "modelcore/xml/internal/NodeWriter.h"
#include "modelcore/xml/internal/NumberText.h"

#include <algorithm>
#include <cstring>

namespace MCXML_930 {

namespace {

/// What stands around name and value: a blank, = and two quotes.
constexpr std::size_t kMarks = 4;

} // namespace

XMLAttribute::XMLAttribute(std::size_t length, bool isPlain) : NodeLink(internal::NodeKind::Attribute, isPlain, length)
{}

XMLAttribute* XMLAttribute::Allocate(std::size_t length, bool isPlain)
{
    void* const block = internal::AllocateNode(sizeof(XMLAttribute) + PrefixSize(isPlain) + length);
    return new (block) XMLAttribute(length, isPlain);
}

XMLAttribute* XMLAttribute::Make(std::string_view name, std::string_view value, bool isPlain)
{
    XMLAttribute* const attribute = Allocate(name.size() + value.size() + kMarks, isPlain);
    const std::size_t nameLength = name.size();
    if (!isPlain) std::memcpy(attribute->Block(), &nameLength, sizeof nameLength);
    char* out = attribute->Block() + PrefixSize(isPlain);
    *out++ = ' ';
    out = std::ranges::copy(name, out).out;
    *out++ = '=';
    *out++ = '"';
    out = std::ranges::copy(value, out).out;
    *out = '"';
    return attribute;
}

std::size_t XMLAttribute::NameLength() const
{
    std::size_t length = 0;
    std::memcpy(&length, Block(), sizeof length);
    return length;
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
    XMLAttribute* const copy = Allocate(GetLength(), IsPlain());
    std::memcpy(copy->Block(), Block(), PrefixSize(IsPlain()) + GetLength());
    return copy;
}

int XMLAttribute::ToString(std::string& out, ExportFormat&) const
{
    internal::NodeWriter writer(out);
    writer.WriteAttribute(*this);
    writer.Finish();
    return 0;
}

int XMLAttribute::ToStream(std::ostream& os, ExportFormat&, bool utf8) const
{
    internal::NodeWriter writer(os, utf8);
    writer.WriteAttribute(*this);
    writer.Finish();
    return 0;
}

std::size_t XMLAttribute::BlockSize() const
{
    return sizeof(XMLAttribute) + PrefixSize(IsPlain()) + GetLength();
}

void XMLAttribute::operator delete(XMLAttribute* node, std::destroying_delete_t)
{
    const std::size_t size = node->BlockSize();
    node->~XMLAttribute();
    internal::ReleaseNode(node, size);
}

} // namespace MCXML_930
