// The one writer behind ToString, ToStream and the whole-document functions.
#pragma once

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/internal/CodePage.h"
#include "modelcore/xml/internal/NodeLink.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace MCXML_930 {

class XMLAttribute;
class XMLElement;
class XMLString;

} // namespace MCXML_930

namespace MCXML_930::internal {

/// Writes nodes through a buffer to the end of a string or to a stream. Both get the last of the buffer from Finish,
/// which is not called by a destructor because a stream may be set to throw. A string that does not get that far is
/// left as it was.
class NodeWriter {
public:
    explicit NodeWriter(std::string& out) : fString(&out), fLengthBefore(out.size()) {}
    NodeWriter(std::ostream& os, bool utf8)
        : fStream(&os), fUTF8(utf8), fPlainAsIs(!utf8 || ProcessCodePageKeepsASCII())
    {}
    NodeWriter(const NodeWriter&) = delete;
    NodeWriter& operator=(const NodeWriter&) = delete;
    ~NodeWriter()
    {
        if (fString != nullptr) fString->resize(fLengthBefore);
    }

    void WriteElement(const XMLElement& root, ExportFormat& fmt);
    /// Without a blank before it.
    void WriteAttribute(const XMLAttribute& attribute);
    void WriteText(const XMLString& text, ExportFormat& fmt);
    /// Text in the process's code page, converted when the stream wants UTF-8 and unchanged otherwise.
    void WriteConverted(std::string_view text);
    void Finish();

private:
    /// Returns the first child, which is to be written next, or null after an empty element.
    const NodeLink* OpenTag(const XMLElement& element, ExportFormat& fmt);
    void CloseTag(const XMLElement& element, ExportFormat& fmt);
    void BreakLine(const ExportFormat& fmt);
    void Indent(const ExportFormat& fmt);
    void WriteName(const XMLElement& element);
    void Put(std::string_view text);
    void Flush();
    void PutPastBuffer(std::string_view text);
    void Deliver(std::string_view text);

    // Large enough that the cost of a write to the stream does not count, small enough to stay in the cache.
    static constexpr std::size_t kBufferSize = 32 * 1024;

    std::unique_ptr<char[]> fBuffer{new char[kBufferSize]};
    std::size_t fUsed = 0;
    std::string* fString = nullptr; // until it is finished
    std::size_t fLengthBefore = 0;
    std::ostream* fStream = nullptr;
    bool fUTF8 = false;
    bool fPlainAsIs = true; // plain ASCII is the same in the output, whatever the code page
    std::optional<CodePageReader> fCodePage;
};

} // namespace MCXML_930::internal
