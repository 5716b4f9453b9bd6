// The flat value stream: what frames it and how it is read.
#pragma once

#include "modelcore/modelcore_export.h"

#include <iosfwd>
#include <string>

/// The flat value stream saves objects as simple values in a small XML document that is written and read in one pass:
///
///     <?xml version="1.0" encoding="UTF-8" ?>
///     <MCXMLRoot copyright="notice">
///     <Means>
///     	<item value="2"/>
///     	<item type="Double" value="0.1"/>
///     	<item type="String" value="first&#10;second"/>
///     </Means>
///     </MCXMLRoot>
///
/// XMLObj writes the objects. Reals, integers and strings come back bit for bit.
namespace MCXML_930 {

/// Writes the XML declaration and the start tag of the root, a line each.
/// @param copyrightText  any text; becomes the attribute "copyright"
/// @return  0; a fault stays in the state of the stream
MODELCORE_EXPORT int StartRoot(std::ostream& os, const std::string& copyrightText);

/// Writes the end tag of the root.
/// @return  0; a fault stays in the state of the stream
MODELCORE_EXPORT int EndRoot(std::ostream& os);

/// Another name of StartRoot.
MODELCORE_EXPORT int WriteHeader(std::ostream& os, const std::string& text);

/// Another name of EndRoot.
MODELCORE_EXPORT int EndHeader(std::ostream& os);

// Readers. Each reads exactly one piece and returns true; on anything else - a damaged or cut stream, another name,
// another type, a number out of range, a token longer than any that is written - it returns false, leaves its result
// unchanged and the stream where reading stopped, and reads no more than that token. Blanks, tabs and line ends may
// stand between any two tokens.

/// Reads what comes before the first object: the declaration and a document type, both of which may be missing, and the
/// start tag "MCXMLRoot" with any attributes.
MODELCORE_EXPORT bool ParseStartXML(std::ifstream& is);

/// Reads the start tag of an object of that name.
MODELCORE_EXPORT bool ParseStartObj(std::ifstream& is, const std::string& name);

/// Reads one value, which must have been written as the same type (integers of any width are one type).
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, int& value);
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, unsigned int& value);
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, long& value);
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, unsigned long& value);
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, long long& value);
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, unsigned long long& value);
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, bool& value);
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, double& value);
MODELCORE_EXPORT bool ParseValue(std::ifstream& is, std::string& value);

/// Reads an end tag of any name, that of the root too.
MODELCORE_EXPORT bool ParseEndObj(std::ifstream& is);

} // namespace MCXML_930
