// Whole documents and single strings to a stream.
#include "modelcore/xml/XMLWrite.h"

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/XMLDocType.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/XMLUtil.h"
#include "modelcore/xml/internal/NodeWriter.h"

#include <ostream>

namespace MCXML_930 {

namespace {

int WriteString(std::ostream& os, const std::string& text, bool utf8)
{
    internal::NodeWriter writer(os, utf8);
    writer.WriteConverted(text);
    writer.Finish();
    return 0;
}

int WriteDocument(std::ostream& os, const XMLDocType* doctype, const XMLElement* root, bool format, bool utf8)
{
    ExportFormat fmt;
    fmt.SetFormat(format);
    if (doctype != nullptr) {
        doctype->ToStream(os, fmt, utf8);
    } else {
        std::string line(XMLUtil::FIRST_LINE);
        line += XMLUtil::ROWSEP; // + has g++ 12 warn of bytes that nobody copies
        WriteString(os, line, utf8);
    }
    return root != nullptr ? root->ToStream(os, fmt, utf8) : 0;
}

} // namespace

int Write(std::ostream& os, const std::string& text)
{
    return WriteString(os, text, false);
}

int WriteUTF(std::ostream& os, const std::string& text)
{
    return WriteString(os, text, true);
}

int WriteTree(std::ostream& os, const XMLDocType* doctype, const XMLElement* root, bool format)
{
    return WriteDocument(os, doctype, root, format, false);
}

int WriteTreeUTF8(std::ostream& os, const XMLDocType* doctype, const XMLElement* root, bool format)
{
    return WriteDocument(os, doctype, root, format, true);
}

} // namespace MCXML_930
