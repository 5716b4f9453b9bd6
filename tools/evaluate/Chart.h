// A chart as a self-contained SVG picture.
#pragma once

#include "Axis.h"

#include "modelcore/modelcore.h"

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace evaluate {

struct ChartAxis {
    Axis axis;
    std::string label;
    bool inPercent = false; ///< the numbers are shares
};

using Points = std::vector<std::pair<double, double>>;

/// A plot with title, subtitle, grid, axes and legend. What is drawn is given in the numbers of the axes; a later
/// figure lies over an earlier one. The picture needs nothing but itself: no fonts, scripts or style sheets.
class Chart {
public:
    Chart(const std::string& title, const std::string& subtitle, const ChartAxis& x, const ChartAxis& y);

    /// @param dashes  lengths of dashes and gaps; empty: solid
    void DrawLine(const Points& points, const char* colour, double width, const char* dashes = "");
    void DrawDots(const Points& points, const char* colour);
    /// @param gap  how much narrower than its place the bar is, in units of the picture
    void DrawBar(double x0, double x1, double y0, double y1, const char* colour, double gap);
    /// A text that begins right of a point, or ends left of it.
    void DrawText(double x, double y, const std::string& text, const char* colour, bool leftOfPoint = false);

    /// Appends an entry to the legend, below the subtitle: a line or, with a width of 0, a patch.
    void AddToLegend(const std::string& text, const char* colour, double width, const char* dashes = "");

    void Write(std::ostream& out) const;

private:
    using Attributes = std::vector<std::pair<const char*, std::string>>;

    MCXML_930::XMLElement& Add(MCXML_930::XMLElement& parent, const char* name, const Attributes& attributes) const;
    void AddText(double left, double top, const std::string& text, double size, const char* colour,
                 const Attributes& more = {}) const;
    void DrawPath(const std::vector<std::pair<double, double>>& points, const char* colour, double width,
                  const char* dashes) const;
    void DrawFrame() const;
    double Left(double x) const;
    double Top(double y) const;

    ChartAxis fX;
    ChartAxis fY;
    std::unique_ptr<MCXML_930::XMLElement> fRoot;
    double fLegendLeft;
};

} // namespace evaluate
