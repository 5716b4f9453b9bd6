// The text node of an XML document.
#include "modelcore/xml/XMLString.h"

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/internal/Escape.h"
#include "modelcore/xml/internal/NodeMemory.h"
#include "modelcore/xml/internal/NodeWriter.h"

#include <algorithm>

namespace MCXML_930 {

XMLString::XMLString(std::string_view text, bool isPlain) : NodeLink(internal::NodeKind::Text, isPlain, text.size())
{
    std::ranges::copy(text, reinterpret_cast<char*>(this + 1));
}

XMLString* XMLString::Make(std::string_view text, bool isPlain)
{
    return new (internal::AllocateNode(sizeof(XMLString) + text.size())) XMLString(text, isPlain);
}

XMLString* XMLString::Create(const std::string& text)
{
    return Make(text, internal::IsPlainText(text));
}

XMLString* XMLString::Clone() const
{
    return Make(Text(), IsPlain());
}

int XMLString::ToString(std::string& out, ExportFormat& fmt) const
{
    internal::NodeWriter writer(out);
    writer.WriteText(*this, fmt);
    writer.Finish();
    return 0;
}

int XMLString::ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const
{
    internal::NodeWriter writer(os, utf8);
    writer.WriteText(*this, fmt);
    writer.Finish();
    return 0;
}

std::size_t XMLString::BlockSize() const
{
    return sizeof(XMLString) + GetLength();
}

void XMLString::operator delete(XMLString* node, std::destroying_delete_t)
{
    const std::size_t size = node->BlockSize();
    node->~XMLString();
    internal::ReleaseNode(node, size);
}

} // namespace MCXML_930
