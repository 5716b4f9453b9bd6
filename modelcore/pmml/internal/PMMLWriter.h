// Elements, attributes and texts of a PMML document, and the first thing that is wrong with it.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/common/Value.h"
#include "modelcore/pmml/MCPMMLExporter.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/internal/CodePageText.h"

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace MCXML_930::internal {

/// Text in double quotes for a message.
std::string InQuotes(std::string_view text);

/// What a value is in an attribute: numbers in the fewest digits that read back.
std::string TextOf(const MCCommon_930::Value& value);

/// Builds a tree whatever it is given and keeps the first complaint: the tree is thrown away when there is one. A check of
/// each text and number thus stands in one place.
class PMMLWriter {
public:
    PMMLWriter();

    /// Whether nothing was wrong so far.
    bool Ok() const { return fCode == 0; }
    void Refuse(MCPMMLExporter::Code code, const std::string& problem);
    long GetCode() const { return fCode; }
    const std::string& GetProblem() const { return fProblem; }

    /// A new last child.
    XMLElement& Add(XMLElement& parent, const char* name) const;

    /// An attribute. Refuses a text that XML cannot hold.
    void Set(XMLElement& element, const char* attribute, const std::string& text);
    void Set(XMLElement& element, const char* attribute, const char* text) { element.AddAttribute(attribute, text); }
    /// Refuses a number that is not finite; what says whose it is.
    void Set(XMLElement& element, const char* attribute, double number, const std::string& what = {});
    void Set(XMLElement& element, const char* attribute, int number);
    /// Only when it is there.
    void SetIf(XMLElement& element, const char* attribute, const std::string& text)
    {
        if (!text.empty()) Set(element, attribute, text);
    }
    void SetIf(XMLElement& element, const char* attribute, double number)
    {
        if (!MCCommon_930::MCMV::IsMissing(number)) Set(element, attribute, number);
    }

    /// Text inside an element.
    void AddText(XMLElement& element, const std::string& text);
    /// The shortest text of a number; refuses what is not finite.
    std::string NumberText(double number, const std::string& what = {});

    /// An Array of numbers or of texts.
    void AddArray(XMLElement& parent, const char* name, const std::vector<double>& numbers);
    void AddArray(XMLElement& parent, const std::vector<MCCommon_930::Value>& texts);

private:
    void CheckText(const std::string& text);

    CodePageText fCodePage;
    long fCode = 0;
    std::string fProblem;
};

} // namespace MCXML_930::internal
