#include "Charts.h"

#include "common/TextTable.h"

#include <algorithm>
#include <string>

namespace evaluate {

using namespace procedure;

namespace {

constexpr const char* kModel = colours::kBlue;
constexpr const char* kEvents = colours::kOrange;
constexpr const char* kOthers = colours::kPaleBlue;
constexpr const char* kBaseline = colours::kGrey;
constexpr const char* kPaleModel = colours::kPaleBlue;
constexpr const char* kDashes = "6 4";
constexpr const char* kDots = "2 3";
constexpr double kThick = 2.4;
constexpr double kThin = 1.6;

const Axis kTenths{0.0, 1.0, 0.1};
const Axis kFifths{0.0, 1.0, 0.2};

std::string Percent(double share)
{
    return ToText(100.0 * share, std::chars_format::fixed, 1) + "%";
}

std::string Subtitle(const Options& options, const Evaluation& e)
{
    if (options.regression)
        return e.score + " as a prediction of " + options.target + ": " + FormatCount(e.cases) + " cases";
    return e.score + " as a predictor of " + options.target + " = " + options.event + ": " + FormatCount(e.cases) +
           " cases, " + FormatCount(e.events) + " events (" + Percent(e.EventRate()) + ")";
}

ChartAxis CasesAxis()
{
    return {kTenths, "Cases, from the highest score down", true, {}};
}

} // namespace

Chart DrawGains(const Options& options, const Evaluation& e)
{
    Chart chart("Gains", Subtitle(options, e), CasesAxis(),
                {kFifths, options.regression ? "Share of the sum of " + options.target : "Events found", true, {}});
    Points ends; // of the segments
    for (const Segment& s : e.segments) ends.emplace_back(s.casesSoFar / e.cases, s.eventsSoFar / e.events);
    Points points{{0.0, 0.0}};
    points.insert(points.end(), ends.begin(), ends.end());
    if (!options.regression) chart.DrawLine({{0.0, 0.0}, {e.EventRate(), 1.0}, {1.0, 1.0}}, kBaseline, kThin, kDots);
    chart.DrawLine({{0.0, 0.0}, {1.0, 1.0}}, kBaseline, kThin, kDashes);
    chart.DrawLine(points, kModel, kThick);
    chart.DrawDots(ends, kModel);
    chart.AddToLegend(e.score, kModel, kThick);
    chart.AddToLegend("chance (baseline)", kBaseline, kThin, kDashes);
    if (!options.regression) chart.AddToLegend("a score without errors", kBaseline, kThin, kDots);
    return chart;
}

Chart DrawLift(const Options& options, const Evaluation& e)
{
    double highest = 1.0;
    for (const Segment& s : e.segments)
        highest = std::max({highest, e.Lift(s.events, s.cases), e.Lift(s.eventsSoFar, s.casesSoFar)});
    Chart chart(
        "Lift", Subtitle(options, e), CasesAxis(),
        {RoundAxis(0.0, 1.05 * highest, 8),
         options.regression ? "Mean, relative to that of all cases" : "Event rate, relative to that of all cases",
         false,
         {}});
    Points points;
    for (const Segment& s : e.segments) {
        points.emplace_back(s.casesSoFar / e.cases, e.Lift(s.eventsSoFar, s.casesSoFar));
        chart.DrawBar((s.casesSoFar - s.cases) / e.cases, points.back().first, 0.0, e.Lift(s.events, s.cases),
                      kPaleModel, 2.0);
    }
    chart.DrawLine({{0.0, 1.0}, {1.0, 1.0}}, kBaseline, kThin, kDashes);
    chart.DrawLine(points, kModel, kThick);
    chart.DrawDots(points, kModel);
    chart.AddToLegend("each segment", kPaleModel, 0.0);
    chart.AddToLegend("all cases up to here", kModel, kThick);
    chart.AddToLegend("chance (baseline)", kBaseline, kThin, kDashes);
    return chart;
}

Chart DrawRoc(const Options& options, const Evaluation& e)
{
    Chart chart("Receiver operating characteristic", Subtitle(options, e),
                {kTenths, "Other cases (1 - specificity)", true, {}},
                {kFifths, "Events found (sensitivity)", true, {}});
    chart.DrawLine({{0.0, 0.0}, {1.0, 1.0}}, kBaseline, kThin, kDashes);
    Points points{{0.0, 0.0}};
    for (const auto& point : e.roc) points.emplace_back(point.falsePositiveRate, point.truePositiveRate);
    chart.DrawLine(points, kModel, kThick);
    if (!MCCommon_930::MCMV::IsMissing(e.rocArea))
        chart.AddToLegend(e.score + ": area " + ToText(e.rocArea, std::chars_format::fixed, 4), kModel, kThick);
    chart.AddToLegend("chance", kBaseline, kThin, kDashes);
    return chart;
}

Chart DrawCalibration(const Options& options, const Evaluation& e)
{
    double low = 0.0;
    double high = options.regression ? 0.0 : 1e-9;
    for (const CalibrationGroup& g : e.calibration) {
        const bool limits = !options.regression;
        low = std::min({low, g.meanScore, limits ? g.lower : g.rate});
        high = std::max({high, g.meanScore, limits ? g.upper : g.rate});
    }
    const Axis axis = e.calibration.empty() ? kTenths : RoundAxis(low, high, 8);
    const bool percent = !options.regression;
    Chart chart("Calibration",
                Subtitle(options, e) + (e.calibration.empty() ? "; the scores are no probabilities" : ""),
                {axis, "Mean score of a group", percent, {}},
                {axis, options.regression ? "Mean of " + options.target : "Events observed", percent, {}});
    chart.DrawLine({{axis.min, axis.min}, {axis.max, axis.max}}, kBaseline, kThin, kDashes);
    Points points;
    for (const CalibrationGroup& g : e.calibration) {
        points.emplace_back(g.meanScore, g.rate);
        if (!options.regression) chart.DrawLine({{g.meanScore, g.lower}, {g.meanScore, g.upper}}, kModel, kThin);
    }
    chart.DrawDots(points, kModel);
    chart.AddToLegend(options.regression ? "groups of equal size" : "groups of equal size, with limits", kModel,
                      kThick);
    chart.AddToLegend("as predicted", kBaseline, kThin, kDashes);
    return chart;
}

Chart DrawHistogram(const Options& options, const Evaluation& e)
{
    double highest = 0.0;
    for (const Bin& bin : e.bins) highest = std::max(highest, bin.events + bin.others);
    const Axis x = RoundAxis(e.bins.front().from, e.bins.back().to, 12);
    Chart chart("Distribution of the score", Subtitle(options, e), {x, e.score, false},
                {RoundAxis(0.0, 1.05 * highest, 8), "Cases", false});
    for (const Bin& bin : e.bins) {
        if (!options.regression) chart.DrawBar(bin.from, bin.to, 0.0, bin.events, kEvents, 1.5);
        chart.DrawBar(bin.from, bin.to, bin.events, bin.events + bin.others, kOthers, 1.5);
    }
    if (options.regression) return chart;
    chart.AddToLegend(options.target + " = " + options.event, kEvents, 0.0);
    chart.AddToLegend("other cases", kOthers, 0.0);
    if (e.cutoff > x.min && e.cutoff < x.max) {
        const double top = RoundAxis(0.0, 1.05 * highest, 8).max;
        chart.DrawLine({{e.cutoff, 0.0}, {e.cutoff, top}}, kBaseline, kThin, kDashes);
        const bool atRight = e.cutoff > 0.5 * (x.min + x.max);
        chart.DrawText(e.cutoff, 0.97 * top, "cutoff " + FormatShort(e.cutoff), kBaseline, atRight);
    }
    return chart;
}

} // namespace evaluate
