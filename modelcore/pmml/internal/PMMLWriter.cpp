#include "modelcore/pmml/internal/PMMLWriter.h"

#include "modelcore/common/internal/ShortestText.h"
#include "modelcore/xml/XMLString.h"
#include "modelcore/xml/internal/CodePage.h"

#include <cmath>

namespace MCXML_930::internal {

using MCCommon_930::MCMV;
using MCCommon_930::Value;
using MCCommon_930::internal::ShortestText;

namespace {

/// Whether XML 1.0 can hold every character of a UTF-8 text: of the controls it has tab and the line ends only, and the
/// last two code points of the basic plane are none.
bool IsXmlText(std::string_view utf8)
{
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') return false;
        if (utf8.substr(i).starts_with("\xEF\xBF\xBE") || utf8.substr(i).starts_with("\xEF\xBF\xBF")) return false;
    }
    return true;
}

} // namespace

std::string InQuotes(std::string_view text)
{
    std::string quoted = "\"";
    quoted += text;
    return quoted += '"';
}

std::string TextOf(const Value& value)
{
    return value.GetType() == Value::TypeReal ? ShortestText(value.GetReal() + 0.0) : value.GetString();
}

PMMLWriter::PMMLWriter() : fCodePage(ProcessCodePage()) {}

void PMMLWriter::Refuse(MCPMMLExporter::Code code, const std::string& problem)
{
    if (!Ok()) return;
    fCode = code;
    fProblem = problem;
}

XMLElement& PMMLWriter::Add(XMLElement& parent, const char* name) const
{
    XMLElement* const child = XMLElement::Create(name);
    parent.AddElement(child);
    return *child;
}

void PMMLWriter::CheckText(const std::string& text)
{
    std::string utf8;
    if (!fCodePage.ToUTF8(text, utf8))
        Refuse(MCPMMLExporter::ForbiddenText, "the text " + InQuotes(text) + " is none of the code page");
    else if (!IsXmlText(utf8))
        Refuse(MCPMMLExporter::ForbiddenText, "the text " + InQuotes(text) + " has a character that XML has not");
}

void PMMLWriter::Set(XMLElement& element, const char* attribute, const std::string& text)
{
    CheckText(text);
    element.AddAttribute(attribute, text);
}

std::string PMMLWriter::NumberText(double number, const std::string& what)
{
    if (!std::isfinite(number) || MCMV::IsMissing(number))
        Refuse(MCPMMLExporter::NotFinite, (what.empty() ? "a number" : what) + " is not finite or missing");
    return ShortestText(number);
}

void PMMLWriter::Set(XMLElement& element, const char* attribute, double number, const std::string& what)
{
    element.AddAttribute(attribute, NumberText(number, what.empty() ? attribute : what));
}

void PMMLWriter::Set(XMLElement& element, const char* attribute, int number)
{
    element.AddAttribute(attribute, std::to_string(number));
}

void PMMLWriter::AddText(XMLElement& element, const std::string& text)
{
    CheckText(text);
    // A reader turns a raw carriage return into a line feed, and texts are written without references for it.
    if (text.find('\r') != std::string::npos)
        Refuse(MCPMMLExporter::NotExpressible, "the text " + InQuotes(text) + " has a carriage return");
    element.AddElement(XMLString::Create(text));
}

void PMMLWriter::AddArray(XMLElement& parent, const char* name, const std::vector<double>& numbers)
{
    XMLElement& array = Add(parent, name);
    Set(array, "n", static_cast<int>(numbers.size()));
    Set(array, "type", "real");
    std::string text;
    for (const double number : numbers) {
        if (!text.empty()) text += ' ';
        text += NumberText(number);
    }
    AddText(array, text);
}

// Elements are separated by blanks; quotes hold one together, and a backslash keeps a quote.
void PMMLWriter::AddArray(XMLElement& parent, const std::vector<Value>& texts)
{
    XMLElement& array = Add(parent, "Array");
    Set(array, "n", static_cast<int>(texts.size()));
    Set(array, "type", "string");
    std::string all;
    for (const Value& value : texts) {
        if (!all.empty()) all += ' ';
        all += '"';
        for (const char c : TextOf(value)) {
            if (c == '"') all += '\\';
            all += c;
        }
        all += '"';
    }
    AddText(array, all);
}

} // namespace MCXML_930::internal
