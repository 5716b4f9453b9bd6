#include "common/Svg.h"

#include "common/StatXml.h"
#include "common/TextTable.h"

#include <algorithm>

namespace procedure {

using MCXML_930::XMLElement;
using MCXML_930::XMLString;

namespace {

constexpr const char* kFonts = "system-ui, 'Segoe UI', 'Helvetica Neue', Helvetica, Arial, 'DejaVu Sans', sans-serif";

bool BeginsCharacter(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
}

} // namespace

std::string Svg::At(double place)
{
    std::string text = ToText(place, std::chars_format::fixed, 2);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

double Svg::TextWidth(const std::string& text, double size)
{
    return 0.56 * size * static_cast<double>(std::count_if(text.begin(), text.end(), BeginsCharacter));
}

std::string Svg::Cut(const std::string& text, double size, double width)
{
    if (TextWidth(text, size) <= width) return text;
    const auto characters = static_cast<std::size_t>(std::max(1.0, width / (0.56 * size) - 1.5));
    std::size_t end = 0;
    for (std::size_t seen = 0; end < text.size(); ++end)
        if (BeginsCharacter(text[end]) && seen++ == characters) break;
    std::string cut = text.substr(0, end);
    return cut += "...";
}

Svg::Svg(double width, double height, const std::string& title) : fRoot(XMLElement::Create("svg"))
{
    std::string box("0 0 ");
    box += At(width);
    box += ' ';
    box += At(height);
    for (const auto& [name, value] : Attributes{{"xmlns", "http://www.w3.org/2000/svg"},
                                                {"viewBox", box},
                                                {"width", At(width)},
                                                {"height", At(height)},
                                                {"role", "img"},
                                                {"font-family", kFonts}})
        fRoot->AddAttribute(name, value);
    Add("title", {}).AddElement(XMLString::Create(Legal(title)));
    Add("rect", {{"width", At(width)}, {"height", At(height)}, {"fill", "#ffffff"}});
}

XMLElement& Svg::Add(const char* name, const Attributes& attributes) const
{
    XMLElement* const element = XMLElement::Create(name);
    fRoot->AddElement(element);
    for (const auto& [attribute, value] : attributes) element->AddAttribute(attribute, value);
    return *element;
}

void Svg::Text(double left, double top, const std::string& text, double size, const char* colour,
               const Attributes& more) const
{
    Attributes attributes{{"x", At(left)}, {"y", At(top)}, {"font-size", At(size)}, {"fill", colour}};
    attributes.insert(attributes.end(), more.begin(), more.end());
    Add("text", attributes).AddElement(XMLString::Create(Legal(Printable(text))));
}

void Svg::Path(const std::vector<std::pair<double, double>>& points, const char* colour, double width,
               const char* dashes) const
{
    std::string places;
    for (const auto& [left, top] : points) {
        if (!places.empty()) places += ' ';
        places += At(left);
        places += ',';
        places += At(top);
    }
    Attributes attributes{{"points", places},
                          {"fill", "none"},
                          {"stroke", colour},
                          {"stroke-width", At(width)},
                          {"stroke-linejoin", "round"}};
    if (*dashes != '\0') attributes.emplace_back("stroke-dasharray", dashes);
    Add("polyline", attributes);
}

void Svg::Rectangle(double left, double top, double width, double height, const char* colour) const
{
    Add("rect", {{"x", At(left)}, {"y", At(top)}, {"width", At(width)}, {"height", At(height)}, {"fill", colour}});
}

void Svg::Circle(double left, double top, double radius, const char* colour, const char* edge) const
{
    Attributes attributes{{"cx", At(left)}, {"cy", At(top)}, {"r", At(radius)}, {"fill", colour}};
    if (edge != nullptr) attributes.emplace_back("stroke", edge);
    Add("circle", attributes);
}

void Svg::Write(std::ostream& out) const
{
    MCXML_930::WriteTreeUTF8(out, nullptr, fRoot.get(), true);
    out << '\n';
}

} // namespace procedure
