// String helpers and character constants of the XML writers.
#pragma once

#include "modelcore/modelcore_export.h"

#include <string>

namespace MCXML_930 {

/// The characters that XML documents are made of, and the replacements in strings that their writers need.
class MODELCORE_EXPORT XMLUtil {
public:
    /// @name What the writers write: markup, layout, and the references for the characters that need one
    /// @{
    static constexpr char FIRST_LINE[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";
    static constexpr char BEGIN_ELEMENT[] = "<";
    static constexpr char LESS_THAN[] = "<";
    static constexpr char END_ELEMENT[] = ">";
    static constexpr char GREATER_THAN[] = ">";
    static constexpr char BEGIN_END_ELEMENT[] = "/";
    static constexpr char BEGIN_PREPROCESSOR[] = "!";
    static constexpr char EQUAL[] = "=";
    static constexpr char QUOTE[] = "\"";
    static constexpr char SPACE[] = " ";
    static constexpr char ROWSEP[] = "\n";
    static constexpr char ITEMINDENT[] = "\t";
    static constexpr char AMPERSAND[] = "&";
    static constexpr char XML_AMPERSAND[] = "&amp;";
    static constexpr char XML_LESS_THAN[] = "&lt;";
    static constexpr char XML_GREATER_THAN[] = "&gt;";
    static constexpr char XML_QUOTE[] = "&quot;";
    static constexpr char XML_CHARREF_TAB[] = "&#9;";
    static constexpr char XML_CHARREF_NL[] = "&#10;";
    static constexpr char XML_CHARREF_CR[] = "&#13;";
    static constexpr char XML_CHARREF_SP[] = "&#32;";
    static constexpr char XML_SP_CHARREF_SP[] = " &#32;";
    /// @}

    /// The columns of a tab, for those who count them; the writers do not.
    static constexpr int TAB_LENGTH = 8;

    /// n tabs; empty for n < 1.
    static std::string GetTabs(int n);

    /// Replaces the first match of find in s at or after pos.
    ///
    /// @param pos  where to begin; becomes the position of the match
    /// @return  the position of the match; -1, with s and pos unchanged, when there is none, when pos is negative or
    ///          beyond the end of s, and when find is null or empty
    static int ReplaceAtPos(std::string& s, const char* find, const std::string& repl, int& pos);

    /// Replaces every match of find in s from left to right; text that was put in is not searched again.
    /// @return  how many matches were replaced
    static int ReplaceAll(std::string& s, const char* find, const std::string& repl);

    /// Replaces the first match of find in s.
    /// @return  as ReplaceAtPos from position 0
    static int ReplaceString(std::string& s, const char* find, const std::string& repl);

    /// The text of an attribute value: & < > " tab, line feed and carriage return become references, and so does each
    /// blank that a reader would drop or join with another: the second of two blanks, the first and the last character.
    static std::string Escape(const std::string& value);

    /// The integer in decimal digits.
    static std::string toString(int value);
};

} // namespace MCXML_930
