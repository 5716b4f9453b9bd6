// Factories of StatXML elements: value lists and the elements that hold them.
#include "modelcore/common/MCMV.h"
#include "modelcore/output/MCStatXMLUtil.h"
#include "modelcore/output/internal/ElementBuilder.h"
#include "modelcore/xml/XMLString.h"
#include "modelcore/xml/internal/CodePage.h"
#include "modelcore/xml/internal/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace MCXML_930 {

using internal::ElementBuilder;

namespace {

template <class T>
std::span<const T> ListOf(const T* values, int count)
{
    return {values, values != nullptr && count > 0 ? static_cast<std::size_t>(count) : 0};
}

/// Room for one item of a list of numbers with the blank before it.
constexpr std::ptrdiff_t kItemRoom = internal::kNumberRoom + 1;

char* WriteItem(char* out, double value)
{
    if (!MCCommon_930::MCMV::IsMissing(value)) return internal::WriteNumber(out, value);
    return std::ranges::copy(std::string_view(internal::kMissingWord), out).out;
}

char* WriteItem(char* out, int value)
{
    // "%.0g": a precision of 0 counts as 1.
    return std::to_chars(out, out + kItemRoom, static_cast<double>(value), std::chars_format::general, 0).ptr;
}

/// Numbers are written to a small array first: a string that grew by each of them would take as long again.
template <class Number>
std::string JoinedText(std::span<const Number> values)
{
    std::string text;
    char piece[4096];
    char* out = piece;
    for (const Number& value : values) {
        if (piece + sizeof piece - out < kItemRoom) {
            text.append(piece, out);
            out = piece;
        }
        if (&value != values.data()) *out++ = ' ';
        out = WriteItem(out, value);
    }
    return text.append(piece, out);
}

std::string JoinedText(std::span<const std::string> values)
{
    std::string text;
    for (const std::string& value : values) {
        if (&value != values.data()) text += ' ';
        text += value;
    }
    return text;
}

template <class T>
void AddList(XMLElement& element, std::span<const T> values)
{
    if (!values.empty()) element.AddElement(XMLString::Create(JoinedText(values)));
}

template <class T>
XMLElement* Coordinates(const std::string& feature, const std::string& field, const std::string& statistic,
                        std::span<const T> values)
{
    ElementBuilder builder("Coordinates");
    builder.Attribute("feature", feature);
    if (!field.empty()) builder.Attribute("field", field);
    if (!statistic.empty()) builder.Attribute("statistic", statistic);
    AddList(builder.Element(), values);
    return builder.Release();
}

template <class T>
XMLElement* Array(const char* type, std::span<const T> values)
{
    ElementBuilder builder("Array");
    builder.Attribute("type", type);
    AddList(builder.Element(), values);
    return builder.Release();
}

bool IsHighByte(char c)
{
    return static_cast<unsigned char>(c) >= 0x80;
}

XMLElement* StringArray(std::span<const std::string> values)
{
    std::vector<std::string> quoted;
    quoted.reserve(values.size());
    for (const std::string& value : values) quoted.push_back('"' + MCStatXMLUtil::ReplaceSpecialChar(value) + '"');
    return Array<std::string>("string", quoted);
}

} // namespace

XMLElement* MCStatXMLUtil::CreateElemCoordinates(const std::string& feature, const std::string& field,
                                                 const std::string& statistic, const double* values, int count)
{
    return Coordinates(feature, field, statistic, ListOf(values, count));
}

XMLElement* MCStatXMLUtil::CreateElemCoordinates(const std::string& feature, const std::string& field,
                                                 const std::string& statistic, const std::vector<double>& values)
{
    return Coordinates<double>(feature, field, statistic, values);
}

XMLElement* MCStatXMLUtil::CreateElemCoordinates(const std::string& feature, const std::string& field,
                                                 const std::string& statistic, const int* values, int count)
{
    return Coordinates(feature, field, statistic, ListOf(values, count));
}

XMLElement* MCStatXMLUtil::CreateElemCoordinates(const std::string& feature, const std::string& field,
                                                 const std::string& statistic, const std::vector<int>& values)
{
    return Coordinates<int>(feature, field, statistic, values);
}

XMLElement* MCStatXMLUtil::CreateElemCoordinates(const std::string& feature, const std::string& field,
                                                 const std::string& statistic, const std::string* values, int count)
{
    return Coordinates(feature, field, statistic, ListOf(values, count));
}

XMLElement* MCStatXMLUtil::CreateElemCoordinates(const std::string& feature, const std::string& field,
                                                 const std::string& statistic, const std::vector<std::string>& values)
{
    return Coordinates<std::string>(feature, field, statistic, values);
}

XMLElement* MCStatXMLUtil::CreateElemArray(const double* values, int count)
{
    return Array("real", ListOf(values, count));
}

XMLElement* MCStatXMLUtil::CreateElemArray(const std::vector<double>& values)
{
    return Array<double>("real", values);
}

XMLElement* MCStatXMLUtil::CreateElemArray(const int* values, int count)
{
    return Array("int", ListOf(values, count));
}

XMLElement* MCStatXMLUtil::CreateElemArray(const std::vector<int>& values)
{
    return Array<int>("int", values);
}

XMLElement* MCStatXMLUtil::CreateElemArray(const std::string* values, int count)
{
    return StringArray(ListOf(values, count));
}

XMLElement* MCStatXMLUtil::CreateElemArray(const std::vector<std::string>& values)
{
    return StringArray(values);
}

XMLElement* MCStatXMLUtil::CreateElemArray(const std::string& item, int count)
{
    return StringArray(std::vector<std::string>(count > 0 ? static_cast<std::size_t>(count) : 0, item));
}

void MCStatXMLUtil::AddDoublesList(XMLElement& element, const double* values, int count)
{
    AddList(element, ListOf(values, count));
}

void MCStatXMLUtil::AddDoublesList(XMLElement& element, const std::vector<double>& values)
{
    AddList<double>(element, values);
}

void MCStatXMLUtil::AddIntList(XMLElement& element, const int* values, int count)
{
    AddList(element, ListOf(values, count));
}

void MCStatXMLUtil::AddIntList(XMLElement& element, const std::vector<int>& values)
{
    AddList<int>(element, values);
}

void MCStatXMLUtil::AddStringList(XMLElement& element, const std::string& value)
{
    AddList(element, std::span(&value, 1));
}

void MCStatXMLUtil::AddStringList(XMLElement& element, const std::string* values, int count)
{
    AddList(element, ListOf(values, count));
}

void MCStatXMLUtil::AddStringList(XMLElement& element, const std::vector<std::string>& values)
{
    AddList<std::string>(element, values);
}

std::string MCStatXMLUtil::ReplaceSpecialChar(const std::string& item)
{
    // In GBK, Big5 and Shift-JIS the second byte of a character can be that of a backslash. Only behind a byte that is
    // not ASCII is it worth asking which one it is.
    std::optional<internal::CodePageReader> reader;
    for (std::size_t i = 1; i < item.size() && !reader; ++i)
        if (item[i] == '\\' && IsHighByte(item[i - 1])) reader.emplace(internal::ProcessCodePage());
    std::string out;
    out.reserve(item.size());
    for (std::size_t i = 0, length = 0; i < item.size(); i += length) {
        length = reader && IsHighByte(item[i]) ? reader->CharacterLength(std::string_view(item).substr(i)) : 1;
        if (item[i] == '"' || item[i] == '\\') out += '\\';
        out.append(item, i, length);
    }
    return out;
}

} // namespace MCXML_930
