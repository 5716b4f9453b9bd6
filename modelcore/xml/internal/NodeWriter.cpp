// The one writer behind ToString, ToStream and the whole-document functions.
#include "modelcore/xml/internal/NodeWriter.h"

#include "modelcore/xml/XMLAttribute.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/XMLString.h"
#include "modelcore/xml/internal/Escape.h"

#include <ostream>

namespace MCXML_930::internal {

namespace {

// Large enough that the cost of a write to the stream does not count, small enough to stay in the cache.
constexpr std::size_t kBufferSize = 32 * 1024;

void WriteBytes(std::ostream& os, std::string_view bytes)
{
    os.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

} // namespace

void NodeWriter::WriteElement(const XMLElement& root, ExportFormat& fmt)
{
    // Down to the first child, along the siblings, up to the parent: no stack, whatever the depth.
    const XMLElement* element = &root;
    if (!OpenTag(*element, fmt)) return;
    const NodeLink* child = element->fLastChild->Next();
    for (;;) {
        if (!child->IsElement()) {
            WriteText(static_cast<const XMLString&>(*child), fmt);
        } else if (const auto& next = static_cast<const XMLElement&>(*child); OpenTag(next, fmt)) {
            element = &next;
            child = element->fLastChild->Next();
            continue;
        }
        while (child == element->fLastChild) {
            CloseTag(*element, fmt);
            if (element == &root) return;
            child = element;
            element = element->fParent;
        }
        child = child->Next();
    }
}

bool NodeWriter::OpenTag(const XMLElement& element, ExportFormat& fmt)
{
    BreakLine(fmt);
    Indent(fmt);
    Put("<");
    WriteName(element);
    if (const NodeLink* const last = element.fLastAttribute; last != nullptr) {
        fmt.SetLevel(fmt.GetLevel() + 1);
        const NodeLink* link = last;
        do {
            link = link->Next();
            const auto& attribute = static_cast<const XMLAttribute&>(*link);
            // With indentation on, tabs follow the blank that separates attributes.
            Put(" ");
            Indent(fmt);
            WriteAttribute(attribute);
        } while (link != last);
        fmt.SetLevel(fmt.GetLevel() - 1);
    }
    if (element.fLastChild == nullptr) {
        Put("/>");
        fmt.SetIsNewParagraph(true);
        return false;
    }
    Put(">");
    fmt.SetLevel(fmt.GetLevel() + 1);
    return true;
}

void NodeWriter::CloseTag(const XMLElement& element, ExportFormat& fmt)
{
    fmt.SetLevel(fmt.GetLevel() - 1);
    BreakLine(fmt);
    Indent(fmt);
    Put("</");
    WriteName(element);
    Put(">");
    fmt.SetIsNewParagraph(true);
}

void NodeWriter::BreakLine(const ExportFormat& fmt)
{
    if (fmt.IsNewParagraph()) Put("\n");
}

void NodeWriter::Indent(const ExportFormat& fmt)
{
    if (!fmt.HasIndentation()) return;
    for (int level = fmt.GetLevel(); level > 0; --level) Put("\t");
}

void NodeWriter::WriteName(const XMLElement& element)
{
    if (element.IsPlain()) {
        Put(element.Name());
    } else {
        WriteConverted(element.Name());
    }
}

void NodeWriter::WriteAttribute(const XMLAttribute& attribute)
{
    if (attribute.IsPlain()) return Put(attribute.AsWritten());
    std::string text(attribute.Name());
    text += "=\"";
    AppendEscapedValue(text, attribute.Value());
    text += '"';
    WriteConverted(text);
}

void NodeWriter::WriteText(const XMLString& text, ExportFormat& fmt)
{
    if (text.IsPlain()) {
        Put(text.Text());
    } else {
        std::string escaped;
        AppendEscapedText(escaped, text.Text());
        WriteConverted(escaped);
    }
    fmt.SetIsNewParagraph(false);
}

void NodeWriter::WriteConverted(std::string_view text)
{
    if (!fUTF8 || IsASCII(text)) return Put(text);
    if (!fCodePage) fCodePage.emplace(ProcessCodePage());
    std::string converted;
    fCodePage->AppendAsUTF8(converted, text);
    Put(converted);
}

void NodeWriter::Put(std::string_view text)
{
    if (fStream != nullptr && fOut.size() + text.size() > kBufferSize) {
        Finish();
        if (text.size() > kBufferSize) return WriteBytes(*fStream, text);
        fOut.reserve(kBufferSize);
    }
    fOut.append(text);
}

void NodeWriter::Finish()
{
    if (fStream == nullptr || fOut.empty()) return;
    WriteBytes(*fStream, fOut);
    fOut.clear();
}

} // namespace MCXML_930::internal
