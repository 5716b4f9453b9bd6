// The interface of every node of an XML document.
#pragma once

#include "modelcore/modelcore_export.h"

#include <iosfwd>
#include <string>

namespace MCXML_930 {

class ExportFormat;

/// A node of a write-oriented XML document: XMLElement, XMLAttribute, XMLString or XMLDocType.
///
/// Nodes are made by the static Create functions of their classes and are never copied but by Clone. A node that was
/// given to an element belongs to it; the caller deletes the root and whatever was given to no one. Names and texts are
/// 8-bit strings in the process's code page; names are written as they are, texts and values are escaped.
/// A node must not change while it is written; separate trees may be written by separate threads.
class MODELCORE_EXPORT XMLInterface {
public:
    virtual ~XMLInterface() = default;

    XMLInterface(const XMLInterface&) = delete;
    XMLInterface& operator=(const XMLInterface&) = delete;

    /// Appends the node's text, in the process's code page, to out.
    /// @param fmt  layout state; it is changed as the text goes on
    /// @return  0
    virtual int ToString(std::string& out, ExportFormat& fmt) const = 0;

    /// Writes the characters of ToString to a stream. The stream is not flushed, and its faults stay in its state.
    /// @param utf8  false writes the bytes as they are, true converts them from the process's code page to UTF-8
    /// @return  0
    virtual int ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const = 0;

    /// A deep copy, owned by the caller.
    virtual XMLInterface* Clone() const = 0;

protected:
    XMLInterface() = default;
};

} // namespace MCXML_930
