// A chart as a self-contained SVG picture.
#pragma once

#include "common/Axis.h"
#include "common/Svg.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace procedure {

struct ChartAxis {
    Axis axis;
    std::string label;
    bool inPercent = false;           ///< the numbers are shares
    std::vector<std::string> names{}; ///< of the steps, instead of numbers: for a vertical axis, from below
};

using Points = std::vector<std::pair<double, double>>;

/// A plot with title, subtitle, grid, axes and legend. What is drawn is given in the numbers of the axes; a later
/// figure lies over an earlier one. The picture needs nothing but itself: no fonts, scripts or style sheets.
class Chart {
public:
    Chart(const std::string& title, const std::string& subtitle, const ChartAxis& x, const ChartAxis& y);

    /// @param dashes  lengths of dashes and gaps; empty: solid
    void DrawLine(const Points& points, const char* colour, double width, const char* dashes = "");
    void DrawDots(const Points& points, const char* colour, double radius = 3.6);
    /// @param gap  how much narrower than its place the bar is, in units of the picture
    void DrawBar(double x0, double x1, double y0, double y1, const char* colour, double gap);
    /// A text that begins right of a point, or ends left of it.
    void DrawText(double x, double y, const std::string& text, const char* colour, bool leftOfPoint = false);

    /// Appends an entry to the legend, below the subtitle: a line or, with a width of 0, a patch.
    void AddToLegend(const std::string& text, const char* colour, double width, const char* dashes = "");

    void Write(std::ostream& out) const { fPicture.Write(out); }

private:
    void DrawFrame() const;
    double Left(double x) const;
    double Top(double y) const;

    ChartAxis fX;
    ChartAxis fY;
    double fLeft; // where the plot begins and ends
    double fBottom;
    Svg fPicture;
    double fLegendLeft;
};

} // namespace procedure
