#include "Charts.h"

#include <algorithm>
#include <cmath>

namespace linreg {

using namespace procedure;
using MCMath_930::MCMathFun;

Chart DrawResiduals(const Options& options, const ResidualPicture& residuals)
{
    const auto& scatter = residuals.points;
    const std::vector<double>& x = scatter.IsBinned() ? scatter.GetCellMeansX() : scatter.GetXCoordinates();
    const std::vector<double>& y = scatter.IsBinned() ? scatter.GetCellMeansY() : scatter.GetYCoordinates();
    const std::vector<double>& n = scatter.IsBinned() ? scatter.GetCellFrequencies() : scatter.GetFrequencies();
    double bounds[2][2] = {{0.0, 0.0}, {0.0, 0.0}};
    double most = 0.0;
    bool isFirst = true;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (!(n[i] > 0.0)) continue;
        most = std::max(most, n[i]);
        const double place[2] = {x[i], y[i]};
        for (int axis : {0, 1}) {
            bounds[axis][0] = isFirst ? place[axis] : std::min(bounds[axis][0], place[axis]);
            bounds[axis][1] = isFirst ? place[axis] : std::max(bounds[axis][1], place[axis]);
        }
        isFirst = false;
    }
    Chart chart("Residuals against fitted values",
                "Linear regression of " + options.target + ": " + std::to_string(residuals.cases) + " cases" +
                    (scatter.IsBinned() ? ", darker where there are more" : ""),
                {RoundAxis(bounds[0][0], bounds[0][1], 8), "Fitted value", false, {}},
                {RoundAxis(std::min(0.0, bounds[1][0]), std::max(0.0, bounds[1][1]), 8), "Residual", false, {}});
    const Axis range = RoundAxis(bounds[0][0], bounds[0][1], 8);
    chart.DrawLine({{range.min, 0.0}, {range.max, 0.0}}, colours::kGrey, 1.6, "6 4");
    // Lightness falls by equal steps with the logarithm of the count, so that it reads in grey as well.
    constexpr const char* kShades[] = {"#b9cbe0", "#8fb0d3", "#6594c5", "#3f78b6", "#1f5fa8", "#123f73"};
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (!(n[i] > 0.0)) continue;
        const double share = most > 1.0 ? MCMathFun::Log(n[i]) / MCMathFun::Log(most) : 1.0;
        const auto shade = static_cast<std::size_t>(std::clamp(5.0 * share + 0.5, 0.0, 5.0));
        chart.DrawDots({{x[i], y[i]}}, scatter.IsBinned() ? kShades[shade] : colours::kBlue,
                       scatter.IsBinned() ? 2.6 : 2.2);
    }
    return chart;
}

Chart DrawNormal(const Options& options, const ResidualPicture& residuals)
{
    constexpr int kPoints = 400;
    const double total = residuals.residuals.GetTotalWeight();
    const int count = static_cast<int>(std::clamp(total, 1.0, static_cast<double>(kPoints)));
    Points points;
    for (int i = 0; i < count && total > 0.0; ++i) {
        // Blom (1958); with many cases, points at equal steps of the normal quantile, so that the tails are seen.
        double share = (i + 1 - 0.375) / (count + 0.25);
        if (total > kPoints) {
            const double end = MCMath_930::MCDistFun::IdfStdNorm(1.0 - 0.625 / (total + 0.25));
            share = MCMath_930::MCDistFun::CdfStdNorm(-end + 2.0 * end * i / (count - 1));
        }
        points.emplace_back(MCMath_930::MCDistFun::IdfStdNorm(share), residuals.residuals.GetQuantile(share));
    }
    if (points.empty()) points.emplace_back(0.0, 0.0);
    const double low = points.front().second;
    const double high = points.back().second;
    const Axis x = RoundAxis(points.front().first, points.back().first, 8);
    Chart chart("Normal quantiles of the residuals", "Linear regression of " + options.target,
                {x, "Normal quantile", false, {}}, {RoundAxis(low, high, 8), "Residual", false, {}});
    // The line through the quartiles, as far as the axis goes.
    const double lower = residuals.residuals.GetQuantile(0.25);
    const double upper = residuals.residuals.GetQuantile(0.75);
    constexpr double kQuartile = 0.6744897501960817;
    if (upper > lower) {
        const double slope = (upper - lower) / (2.0 * kQuartile);
        const double middle = 0.5 * (upper + lower);
        const Axis y = RoundAxis(low, high, 8);
        const double from = std::max(x.min, (y.min - middle) / slope);
        const double to = std::min(x.max, (y.max - middle) / slope);
        chart.DrawLine({{from, middle + slope * from}, {to, middle + slope * to}}, colours::kGrey, 1.6, "6 4");
    }
    chart.DrawDots(points, colours::kBlue, 2.4);
    return chart;
}

} // namespace linreg
