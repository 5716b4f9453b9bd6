// Writer of the flat value stream: simple values between the tags of an object.
#pragma once

#include "modelcore/modelcore_export.h"

#include <iosfwd>
#include <string>

namespace MCXML_930 {

/// The element of one object in a flat value stream (see XMLValueStream.h), written straight to a stream: a start tag,
/// the object's values one a line, an end tag. Values have no names; they are read back in the order of writing.
///
/// Every writer returns 0; a fault stays in the state of the stream. The text is ASCII whatever the values are.
class MODELCORE_EXPORT XMLObj {
public:
    /// @param name   the element's name, an XML name of at most 1024 characters; what is none is written as it is, and
    ///               no reader accepts it
    /// @param nTabs  the depth of its tags, none below 1; values stand one tab deeper
    XMLObj(std::string name, int nTabs);

    /// The name given to the constructor.
    const std::string& GetName() const { return fName; }
    /// The depth given to the constructor.
    int GetNTabs() const { return fnTabs; }

    /// Writes the line `<name>`.
    int StartObj(std::ostream& os) const;
    /// Writes the line `</name>`.
    int EndObj(std::ostream& os) const;

    /// Writes a line `<item value="..."/>` with all digits of the integer, or with true or false.
    int WriteSubElement(std::ostream& os, int value) const;
    int WriteSubElement(std::ostream& os, unsigned int value) const;
    int WriteSubElement(std::ostream& os, long value) const;
    int WriteSubElement(std::ostream& os, unsigned long value) const;
    int WriteSubElement(std::ostream& os, long long value) const;
    int WriteSubElement(std::ostream& os, unsigned long long value) const;
    int WriteSubElement(std::ostream& os, bool value) const;

    /// Writes a line `<item type="Double" value="..."/>` with the shortest text that reads back to the same double.
    /// The system-missing value is "Missing", infinities are "Infinity" and "-Infinity", and a NaN is "NaN" followed by
    /// its sixteen hexadecimal digits between parentheses.
    int WriteSubElement(std::ostream& os, double value) const;

    /// Writes a line `<item type="String" value="..."/>`. Markup characters, tabs and line ends become character
    /// references; a backslash becomes two; any other byte outside the printable ASCII characters becomes a backslash,
    /// x and its two hexadecimal digits. What has up to 2^30 characters, so written, can be read back.
    int WriteSubElement(std::ostream& os, const std::string& value) const;
    int WriteSubElement(std::ostream& os, const char* value) const;

private:
    int WriteLine(std::ostream& os, const char* type, const std::string& value) const;

    std::string fName;
    int fnTabs;
};

} // namespace MCXML_930
