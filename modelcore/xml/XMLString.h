// The text node of an XML document.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/xml/XMLInterface.h"
#include "modelcore/xml/internal/NodeLink.h"

#include <iosfwd>
#include <new>
#include <string>
#include <string_view>

namespace MCXML_930 {

namespace internal {
class NodeWriter;
}

/// Text inside an element. It is kept unescaped, right behind the object in the same block of memory: 24 bytes and the
/// text.
class MODELCORE_EXPORT XMLString final : public XMLInterface, private internal::NodeLink {
public:
    /// A new text node, owned by the caller.
    static XMLString* Create(const std::string& text);

    /// Appends the text, with & and < as references and nothing else changed, without line break or indentation; the
    /// tag that follows stays on the same line.
    int ToString(std::string& out, ExportFormat& fmt) const override;
    int ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const override;
    XMLString* Clone() const override;

    /// Deletes the node and its text, which share one block of memory.
    static void operator delete(XMLString* node, std::destroying_delete_t);

private:
    friend class XMLElement;
    friend class internal::NodeWriter;

    XMLString(std::string_view text, bool isPlain);
    static XMLString* Make(std::string_view text, bool isPlain);
    static void* operator new(std::size_t, void* block) { return block; }
    std::size_t BlockSize() const;

    std::string_view Text() const { return {reinterpret_cast<const char*>(this + 1), GetLength()}; }
};

} // namespace MCXML_930
