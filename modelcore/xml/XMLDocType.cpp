// The document type declaration of an XML document.
#include "modelcore/xml/XMLDocType.h"

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/XMLWrite.h"

#include <algorithm>
#include <memory>
#include <ostream>

namespace MCXML_930 {

XMLDocType::XMLDocType(const std::string& name, const std::string& systemId, long mark)
    : fName(name), fSystemId(systemId), fMark(mark)
{}

XMLDocType* XMLDocType::Create(const std::string& name, const std::string& systemId, long mark)
{
    return new XMLDocType(name, systemId, mark);
}

std::size_t XMLDocType::AddExtension(const std::string& text)
{
    const std::size_t length = fExtension.size() + 1 + text.size();
    if (length > fExtension.capacity()) fExtension.reserve(std::max(length, 2 * fExtension.size()));
    fExtension.append("\n").append(text);
    return length;
}

void XMLDocType::SetDeclaration(const std::string& version, const std::string& encoding)
{
    std::string newVersion(version), newEncoding(encoding);
    fVersion.swap(newVersion);
    fEncoding.swap(newEncoding);
}

long XMLDocType::GetMark() const
{
    return fMark;
}

XMLDocType* XMLDocType::Clone() const
{
    std::unique_ptr<XMLDocType> copy(new XMLDocType(fName, fSystemId, fMark));
    copy->fExtension = fExtension;
    copy->SetDeclaration(fVersion, fEncoding);
    return copy.release();
}

int XMLDocType::ToString(std::string& out, ExportFormat&) const
{
    const char* const quote = fSystemId.find('"') == std::string::npos ? "\"" : "'";
    std::string text("<?xml version=\"");
    text.append(fVersion).append("\" encoding=\"").append(fEncoding).append("\" ?>\n");
    text.append("<!DOCTYPE ").append(fName).append(" SYSTEM ").append(quote).append(fSystemId).append(quote);
    if (!fExtension.empty()) text.append(" [").append(fExtension).append("\n]");
    out.append(text.append(">\n"));
    return 0;
}

int XMLDocType::ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const
{
    std::string text;
    ToString(text, fmt);
    return utf8 ? WriteUTF(os, text) : Write(os, text);
}

} // namespace MCXML_930
