// The one writer behind ToString, ToStream and the whole-document functions.
#pragma once

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/internal/CodePage.h"

#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace MCXML_930 {

class XMLAttribute;
class XMLElement;
class XMLString;

} // namespace MCXML_930

namespace MCXML_930::internal {

/// Writes nodes to the end of a string, or through a buffer to a stream. A stream gets the last of the buffer from
/// Finish, which is not called by a destructor because a stream may be set to throw.
class NodeWriter {
public:
    explicit NodeWriter(std::string& out) : fOut(out) {}
    NodeWriter(std::ostream& os, bool utf8) : fOut(fBuffer), fStream(&os), fUTF8(utf8) {}
    NodeWriter(const NodeWriter&) = delete;
    NodeWriter& operator=(const NodeWriter&) = delete;

    void WriteElement(const XMLElement& root, ExportFormat& fmt);
    void WriteAttribute(const XMLAttribute& attribute);
    void WriteText(const XMLString& text, ExportFormat& fmt);
    /// Text in the process's code page, converted when the stream wants UTF-8 and unchanged otherwise.
    void WriteConverted(std::string_view text);
    void Finish();

private:
    /// True when the element has children, which are to be written next.
    bool OpenTag(const XMLElement& element, ExportFormat& fmt);
    void CloseTag(const XMLElement& element, ExportFormat& fmt);
    void BreakLine(const ExportFormat& fmt);
    void Indent(const ExportFormat& fmt);
    void WriteName(const XMLElement& element);
    void Put(std::string_view text);

    std::string fBuffer;
    std::string& fOut;
    std::ostream* fStream = nullptr;
    bool fUTF8 = false;
    std::optional<CodePageReader> fCodePage;
};

} // namespace MCXML_930::internal
