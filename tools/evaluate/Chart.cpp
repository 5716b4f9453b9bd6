#include "Chart.h"

#include "common/StatXml.h"
#include "common/TextTable.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace evaluate {

using MCXML_930::XMLElement;
using MCXML_930::XMLString;
using procedure::FormatShort;

namespace {

constexpr double kWidth = 720.0;
constexpr double kHeight = 460.0;
// The plot lies between these.
constexpr double kLeft = 78.0;
constexpr double kRight = kWidth - 30.0;
constexpr double kTop = 104.0;
constexpr double kBottom = kHeight - 66.0;

constexpr const char* kFonts = "system-ui, 'Segoe UI', 'Helvetica Neue', Helvetica, Arial, 'DejaVu Sans', sans-serif";
constexpr const char* kInk = "#222222";
constexpr const char* kSoftInk = "#555555";
constexpr const char* kGrid = "#e3e6ea";
constexpr const char* kAxisLine = "#8a9099";

/// A place in the picture: hundredths are finer than any screen shows.
std::string At(double place)
{
    std::string text = procedure::ToText(place, std::chars_format::fixed, 2);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

std::string Joined(std::initializer_list<std::string> numbers)
{
    std::string text;
    for (const std::string& number : numbers) text.append(text.empty() ? 0 : 1, ' ').append(number);
    return text;
}

/// About how wide a text is: fonts differ, and it is only the legend that needs it.
double TextWidth(const std::string& text, double size)
{
    const auto characters =
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
    return 0.56 * size * static_cast<double>(characters);
}

} // namespace

Chart::Chart(const std::string& title, const std::string& subtitle, const ChartAxis& x, const ChartAxis& y)
    : fX(x), fY(y), fRoot(XMLElement::Create("svg")), fLegendLeft(kLeft)
{
    for (const auto& [name, value] : Attributes{{"xmlns", "http://www.w3.org/2000/svg"},
                                                {"viewBox", Joined({"0", "0", At(kWidth), At(kHeight)})},
                                                {"width", At(kWidth)},
                                                {"height", At(kHeight)},
                                                {"role", "img"},
                                                {"font-family", kFonts}})
        fRoot->AddAttribute(name, value);
    Add(*fRoot, "title", {}).AddElement(XMLString::Create(procedure::Legal(title + ": " + subtitle)));
    Add(*fRoot, "rect", {{"width", At(kWidth)}, {"height", At(kHeight)}, {"fill", "#ffffff"}});
    AddText(kLeft, 34.0, title, 19.0, kInk, {{"font-weight", "600"}});
    AddText(kLeft, 56.0, subtitle, 13.0, kSoftInk);
    DrawFrame();
}

void Chart::DrawFrame() const
{
    const auto label = [](const ChartAxis& axis, int i) {
        const double number = axis.axis.At(i);
        const bool isZero = std::fabs(number) < 1e-9 * axis.axis.step; // 3 * 0.1 - 0.3 is not 0, but its label is
        return axis.inPercent ? FormatShort(100.0 * number) + "%" : FormatShort(isZero ? 0.0 : number);
    };
    for (int i = 0; i <= fY.axis.Steps(); ++i) {
        const double top = Top(fY.axis.At(i));
        DrawPath({{kLeft, top}, {kRight, top}}, i == 0 ? kAxisLine : kGrid, 1.0, "");
        AddText(kLeft - 9.0, top + 4.3, label(fY, i), 12.5, kSoftInk, {{"text-anchor", "end"}});
    }
    for (int i = 0; i <= fX.axis.Steps(); ++i) {
        const double left = Left(fX.axis.At(i));
        DrawPath({{left, kBottom}, {left, kBottom + 5.0}}, kAxisLine, 1.0, "");
        AddText(left, kBottom + 21.0, label(fX, i), 12.5, kSoftInk, {{"text-anchor", "middle"}});
    }
    AddText(0.5 * (kLeft + kRight), kHeight - 18.0, fX.label, 13.5, kInk, {{"text-anchor", "middle"}});
    const double middle = 0.5 * (kTop + kBottom);
    AddText(22.0, middle, fY.label, 13.5, kInk,
            {{"text-anchor", "middle"}, {"transform", "rotate(" + Joined({"-90", "22", At(middle)}) + ")"}});
}

double Chart::Left(double x) const
{
    return kLeft + (x - fX.axis.min) / (fX.axis.max - fX.axis.min) * (kRight - kLeft);
}

double Chart::Top(double y) const
{
    return kBottom - (y - fY.axis.min) / (fY.axis.max - fY.axis.min) * (kBottom - kTop);
}

XMLElement& Chart::Add(XMLElement& parent, const char* name, const Attributes& attributes) const
{
    XMLElement* const element = XMLElement::Create(name);
    parent.AddElement(element);
    for (const auto& [attribute, value] : attributes) element->AddAttribute(attribute, value);
    return *element;
}

void Chart::AddText(double left, double top, const std::string& text, double size, const char* colour,
                    const Attributes& more) const
{
    Attributes attributes{{"x", At(left)}, {"y", At(top)}, {"font-size", At(size)}, {"fill", colour}};
    attributes.insert(attributes.end(), more.begin(), more.end());
    Add(*fRoot, "text", attributes).AddElement(XMLString::Create(procedure::Legal(procedure::Printable(text))));
}

void Chart::DrawPath(const std::vector<std::pair<double, double>>& points, const char* colour, double width,
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
    Add(*fRoot, "polyline", attributes);
}

void Chart::DrawLine(const Points& points, const char* colour, double width, const char* dashes)
{
    std::vector<std::pair<double, double>> places;
    for (const auto& [x, y] : points) places.emplace_back(Left(x), Top(y));
    DrawPath(places, colour, width, dashes);
}

void Chart::DrawDots(const Points& points, const char* colour)
{
    for (const auto& [x, y] : points)
        Add(*fRoot, "circle",
            {{"cx", At(Left(x))}, {"cy", At(Top(y))}, {"r", "3.6"}, {"fill", colour}, {"stroke", "#ffffff"}});
}

void Chart::DrawBar(double x0, double x1, double y0, double y1, const char* colour, double gap)
{
    const double width = std::max(Left(x1) - Left(x0) - gap, 0.5);
    Add(*fRoot, "rect",
        {{"x", At(0.5 * (Left(x0) + Left(x1) - width))},
         {"y", At(Top(y1))},
         {"width", At(width)},
         {"height", At(Top(y0) - Top(y1))},
         {"fill", colour}});
}

void Chart::DrawText(double x, double y, const std::string& text, const char* colour, bool leftOfPoint)
{
    AddText(Left(x) + (leftOfPoint ? -7.0 : 7.0), Top(y) + 4.3, text, 12.5, colour,
            {{"text-anchor", leftOfPoint ? "end" : "start"}});
}

void Chart::AddToLegend(const std::string& text, const char* colour, double width, const char* dashes)
{
    constexpr double kMiddle = 79.0;
    constexpr double kSize = 12.5;
    if (width > 0.0)
        DrawPath({{fLegendLeft, kMiddle}, {fLegendLeft + 26.0, kMiddle}}, colour, width, dashes);
    else
        Add(*fRoot, "rect",
            {{"x", At(fLegendLeft)}, {"y", At(kMiddle - 6.0)}, {"width", "14"}, {"height", "12"}, {"fill", colour}});
    const double begin = fLegendLeft + (width > 0.0 ? 33.0 : 21.0);
    AddText(begin, kMiddle + 4.3, text, kSize, kInk);
    fLegendLeft = begin + TextWidth(text, kSize) + 22.0;
}

void Chart::Write(std::ostream& out) const
{
    MCXML_930::WriteTreeUTF8(out, nullptr, fRoot.get(), true);
    out << '\n';
}

} // namespace evaluate
