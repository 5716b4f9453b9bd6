#include "common/Chart.h"

#include "common/TextTable.h"

#include <algorithm>
#include <cmath>

namespace procedure {

using namespace colours;

namespace {

constexpr double kWidth = 720.0;
constexpr double kHeight = 460.0;
constexpr double kHeightOfName = 17.0;
// The plot lies between these.
constexpr double kLeft = 78.0;
constexpr double kRight = kWidth - 30.0;
constexpr double kTop = 104.0;
constexpr double kBelow = 66.0;
constexpr double kLegendSize = 12.5;
/// With names at the steps, the plot begins further right.
constexpr double kNameWidth = 190.0;

} // namespace

Chart::Chart(const std::string& title, const std::string& subtitle, const ChartAxis& x, const ChartAxis& y)
    : fX(x), fY(y), fLeft(y.names.empty() ? kLeft : kLeft + kNameWidth),
      fBottom(std::max(kHeight - kBelow, kTop + kHeightOfName * static_cast<double>(y.names.size()))),
      fPicture(kWidth, fBottom + kBelow, title + ": " + subtitle), fLegendLeft(kLeft)
{
    const double room = kRight - kLeft;
    fPicture.Text(kLeft, 34.0, Svg::Cut(title, 19.0, room), 19.0, kInk, {{"font-weight", "600"}});
    fPicture.Text(kLeft, 56.0, Svg::Cut(subtitle, 13.0, room), 13.0, kSoftInk);
    DrawFrame();
}

void Chart::DrawFrame() const
{
    const auto label = [](const ChartAxis& axis, int i) {
        const double number = axis.axis.At(i);
        const bool isZero = std::fabs(number) < 1e-9 * axis.axis.step; // 3 * 0.1 - 0.3 is not 0, but its label is
        return axis.inPercent ? FormatShort(100.0 * number) + "%" : FormatShort(isZero ? 0.0 : number);
    };
    if (!fY.names.empty()) {
        for (std::size_t i = 0; i < fY.names.size(); ++i) {
            const double top = Top(fY.axis.At(static_cast<int>(i)));
            fPicture.Path({{fLeft, top}, {kRight, top}}, kGrid, 1.0);
            fPicture.Text(fLeft - 9.0, top + 4.3, Svg::Cut(fY.names[i], 12.5, kNameWidth + 30.0), 12.5, kSoftInk,
                          {{"text-anchor", "end"}});
        }
        fPicture.Path({{fLeft, fBottom}, {kRight, fBottom}}, kAxisLine, 1.0);
    }
    for (int i = 0; fY.names.empty() && i <= fY.axis.Steps(); ++i) {
        const double top = Top(fY.axis.At(i));
        fPicture.Path({{fLeft, top}, {kRight, top}}, i == 0 ? kAxisLine : kGrid, 1.0, "");
        fPicture.Text(fLeft - 9.0, top + 4.3, label(fY, i), 12.5, kSoftInk, {{"text-anchor", "end"}});
    }
    for (int i = 0; i <= fX.axis.Steps(); ++i) {
        const double left = Left(fX.axis.At(i));
        fPicture.Path({{left, fBottom}, {left, fBottom + 5.0}}, kAxisLine, 1.0, "");
        fPicture.Text(left, fBottom + 21.0, label(fX, i), 12.5, kSoftInk, {{"text-anchor", "middle"}});
    }
    fPicture.Text(0.5 * (fLeft + kRight), fBottom + kBelow - 18.0, Svg::Cut(fX.label, 13.5, kRight - fLeft), 13.5, kInk,
                  {{"text-anchor", "middle"}});
    const double middle = 0.5 * (kTop + fBottom);
    fPicture.Text(22.0, middle, Svg::Cut(fY.label, 13.5, fBottom - kTop + 70.0), 13.5, kInk,
                  {{"text-anchor", "middle"}, {"transform", "rotate(-90 22 " + Svg::At(middle) + ")"}});
}

double Chart::Left(double x) const
{
    return fLeft + (x - fX.axis.min) / (fX.axis.max - fX.axis.min) * (kRight - fLeft);
}

double Chart::Top(double y) const
{
    return fBottom - (y - fY.axis.min) / (fY.axis.max - fY.axis.min) * (fBottom - kTop);
}

void Chart::DrawLine(const Points& points, const char* colour, double width, const char* dashes)
{
    std::vector<std::pair<double, double>> places;
    for (const auto& [x, y] : points) places.emplace_back(Left(x), Top(y));
    fPicture.Path(places, colour, width, dashes);
}

void Chart::DrawDots(const Points& points, const char* colour, double radius)
{
    for (const auto& [x, y] : points)
        fPicture.Circle(Left(x), Top(y), radius, colour, radius > 3.0 ? "#ffffff" : nullptr);
}

void Chart::DrawBar(double x0, double x1, double y0, double y1, const char* colour, double gap)
{
    const double width = std::max(Left(x1) - Left(x0) - gap, 0.5);
    fPicture.Rectangle(0.5 * (Left(x0) + Left(x1) - width), Top(y1), width, Top(y0) - Top(y1), colour);
}

void Chart::DrawText(double x, double y, const std::string& text, const char* colour, bool leftOfPoint)
{
    fPicture.Text(Left(x) + (leftOfPoint ? -7.0 : 7.0), Top(y) + 4.3, text, 12.5, colour,
                  {{"text-anchor", leftOfPoint ? "end" : "start"}});
}

void Chart::AddToLegend(const std::string& text, const char* colour, double width, const char* dashes)
{
    constexpr double kMiddle = 79.0;
    if (width > 0.0)
        fPicture.Path({{fLegendLeft, kMiddle}, {fLegendLeft + 26.0, kMiddle}}, colour, width, dashes);
    else
        fPicture.Rectangle(fLegendLeft, kMiddle - 6.0, 14.0, 12.0, colour);
    const double begin = fLegendLeft + (width > 0.0 ? 33.0 : 21.0);
    const std::string shown = Svg::Cut(text, kLegendSize, 330.0);
    fPicture.Text(begin, kMiddle + 4.3, shown, kLegendSize, kInk);
    fLegendLeft = begin + Svg::TextWidth(shown, kLegendSize) + 22.0;
}

} // namespace procedure
