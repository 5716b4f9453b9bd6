// The one writer behind ToString, ToStream and the whole-document functions.
#include "modelcore/xml/internal/NodeWriter.h"

#include "modelcore/xml/XMLAttribute.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/XMLString.h"
#include "modelcore/xml/internal/Escape.h"

#include <cstring>
#include <ostream>

namespace MCXML_930::internal {

inline void NodeWriter::Put(std::string_view text)
{
    if (text.size() > kBufferSize - fUsed) return PutPastBuffer(text);
    std::memcpy(fBuffer.get() + fUsed, text.data(), text.size());
    fUsed += text.size();
}

void NodeWriter::WriteElement(const XMLElement& root, ExportFormat& fmt)
{
    // Down to the first child, along the siblings, up to the parent: no stack, whatever the depth.
    const XMLElement* element = &root;
    const NodeLink* child = OpenTag(root, fmt);
    while (child != nullptr) {
        if (child->GetKind() == NodeKind::Text) {
            WriteText(static_cast<const XMLString&>(*child), fmt);
        } else {
            const auto& next = static_cast<const XMLElement&>(*child);
            if (const NodeLink* const first = OpenTag(next, fmt); first != nullptr) {
                element = &next;
                child = first;
                continue;
            }
        }
        while (child == element->fLast) {
            CloseTag(*element, fmt);
            if (element == &root) return;
            child = element;
            element = element->fParent;
        }
        child = child->Next();
    }
}

const NodeLink* NodeWriter::OpenTag(const XMLElement& element, ExportFormat& fmt)
{
    BreakLine(fmt);
    Indent(fmt);
    Put("<");
    WriteName(element);

    const NodeLink* child = nullptr;
    if (element.fLast != nullptr) {
        fmt.SetLevel(fmt.GetLevel() + 1);
        const NodeLink* link = element.fLast->Next();
        for (; link->IsAttribute(); link = link->Next()) {
            const auto& attribute = static_cast<const XMLAttribute&>(*link);
            if (attribute.IsPlain() && fPlainAsIs && !fmt.HasIndentation()) {
                Put(attribute.BlankAndText());
            } else {
                // With indentation on, tabs follow the blank that separates attributes.
                Put(" ");
                Indent(fmt);
                WriteAttribute(attribute);
            }
            if (link == element.fLast) break;
        }
        fmt.SetLevel(fmt.GetLevel() - 1);
        if (!link->IsAttribute()) child = link;
    }
    if (child == nullptr) {
        Put("/>");
        fmt.SetIsNewParagraph(true);
        return nullptr;
    }
    Put(">");
    fmt.SetLevel(fmt.GetLevel() + 1);
    return child;
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
    if (element.IsPlain() && fPlainAsIs) {
        Put(element.Name());
    } else {
        WriteConverted(element.Name());
    }
}

void NodeWriter::WriteAttribute(const XMLAttribute& attribute)
{
    if (attribute.IsPlain()) return fPlainAsIs ? Put(attribute.Text()) : WriteConverted(attribute.Text());
    std::string text(attribute.Name());
    text += "=\"";
    AppendEscapedValue(text, attribute.Value());
    text += '"';
    WriteConverted(text);
}

void NodeWriter::WriteText(const XMLString& text, ExportFormat& fmt)
{
    if (text.IsPlain() && fPlainAsIs) {
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
    if (!fUTF8 || (fPlainAsIs && IsASCII(text))) return Put(text);
    if (!fCodePage) fCodePage.emplace(ProcessCodePage());
    std::string converted;
    fCodePage->AppendAsUTF8(converted, text);
    Put(converted);
}

void NodeWriter::PutPastBuffer(std::string_view text)
{
    Flush();
    if (text.size() > kBufferSize) return Deliver(text);
    Put(text);
}

void NodeWriter::Finish()
{
    Flush();
    fString = nullptr;
}

void NodeWriter::Flush()
{
    if (fUsed > 0) Deliver({fBuffer.get(), fUsed});
    fUsed = 0;
}

void NodeWriter::Deliver(std::string_view text)
{
    if (fStream != nullptr) {
        fStream->write(text.data(), static_cast<std::streamsize>(text.size()));
    } else {
        fString->append(text);
    }
}

} // namespace MCXML_930::internal
