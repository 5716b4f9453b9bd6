// The document type declaration of an XML document.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/xml/XMLInterface.h"

#include <cstddef>
#include <iosfwd>
#include <string>

namespace MCXML_930 {

/// The head of a document that names its document type: the XML declaration and a DOCTYPE with a system identifier and,
/// if wanted, declarations of its own between brackets.
class MODELCORE_EXPORT XMLDocType final : public XMLInterface {
public:
    /// A new document type, owned by the caller.
    ///
    /// @param name      name of the root element
    /// @param systemId  system identifier, written as it is; between apostrophes when it holds a double quote
    /// @param mark      a number of the caller's own, kept and cloned; it has no effect on the text
    static XMLDocType* Create(const std::string& name, const std::string& systemId, long mark);

    /// Appends a line feed and text, unescaped, to the declarations between the brackets.
    /// @return  the new length of these declarations
    std::size_t AddExtension(const std::string& text);

    /// Replaces the values of the XML declaration, "1.0" and "UTF-8".
    void SetDeclaration(const std::string& version, const std::string& encoding);

    /// The number given to Create.
    long GetMark() const;

    /// Appends the XML declaration and the document type, a line each; the extensions follow on lines of their own.
    int ToString(std::string& out, ExportFormat& fmt) const override;
    int ToStream(std::ostream& os, ExportFormat& fmt, bool utf8) const override;
    XMLDocType* Clone() const override;

private:
    XMLDocType(const std::string& name, const std::string& systemId, long mark);

    std::string fName;
    std::string fSystemId;
    long fMark;
    std::string fExtension;
    std::string fVersion = "1.0";
    std::string fEncoding = "UTF-8";
};

} // namespace MCXML_930
