// Whole documents and single strings to a stream.
#pragma once

#include "modelcore/modelcore_export.h"

#include <iosfwd>
#include <string>

namespace MCXML_930 {

class XMLDocType;
class XMLElement;

/// Writes the bytes of text unchanged.
/// @return  0; a fault stays in the state of the stream
MODELCORE_EXPORT int Write(std::ostream& os, const std::string& text);

/// Writes text converted from the process's code page to UTF-8; each byte that does not convert becomes U+FFFD.
///
/// The code page is that of GetACP on Windows, elsewhere the character set of the locale that the environment asks for
/// (LC_ALL, LC_CTYPE, LANG), where the C and POSIX locales stand for UTF-8. It is read once; the locale of the program
/// is neither used nor changed.
/// @return  0; a fault stays in the state of the stream
MODELCORE_EXPORT int WriteUTF(std::ostream& os, const std::string& text);

/// Writes a whole document in the process's code page: the XML declaration and a line feed, or else what doctype
/// writes, then the tree. Nothing follows the root's end tag.
///
/// @param doctype  null for the plain declaration (which says UTF-8; a doctype can say another encoding)
/// @param root     null writes no tree
/// @param format   true begins each element, and each end tag that does not follow a text, on a new line, so that an
///                 empty line stands between the declaration and the root; false writes the tree on one line
/// @return  0; a fault stays in the state of the stream, which is not flushed
MODELCORE_EXPORT int WriteTree(std::ostream& os, const XMLDocType* doctype, const XMLElement* root, bool format);

/// As WriteTree, with all text converted to UTF-8 as WriteUTF does.
MODELCORE_EXPORT int WriteTreeUTF8(std::ostream& os, const XMLDocType* doctype, const XMLElement* root, bool format);

} // namespace MCXML_930
