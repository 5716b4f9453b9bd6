#include "Charts.h"

#include "common/TextTable.h"

#include <algorithm>
#include <string>

namespace evaluate {

using namespace procedure;

namespace {

constexpr const char* kModel = "#1f5fa8";
constexpr const char* kEvents = "#d1603d";
constexpr const char* kOthers = "#b9cbe0";
constexpr const char* kBaseline = "#6f7680";
constexpr const char* kPaleModel = "#b9cbe0";
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
    return options.score + " as a predictor of " + options.target + " = " + options.event + ": " +
           FormatCount(e.cases) + " cases, " + FormatCount(e.events) + " events (" + Percent(e.EventRate()) + ")";
}

ChartAxis CasesAxis()
{
    return {kTenths, "Cases, from the highest score down", true};
}

} // namespace

Chart DrawGains(const Options& options, const Evaluation& e)
{
    Chart chart("Gains", Subtitle(options, e), CasesAxis(), {kFifths, "Events found", true});
    Points ends; // of the segments
    for (const Segment& s : e.segments) ends.emplace_back(s.casesSoFar / e.cases, s.eventsSoFar / e.events);
    Points points{{0.0, 0.0}};
    points.insert(points.end(), ends.begin(), ends.end());
    chart.DrawLine({{0.0, 0.0}, {e.EventRate(), 1.0}, {1.0, 1.0}}, kBaseline, kThin, kDots);
    chart.DrawLine({{0.0, 0.0}, {1.0, 1.0}}, kBaseline, kThin, kDashes);
    chart.DrawLine(points, kModel, kThick);
    chart.DrawDots(ends, kModel);
    chart.AddToLegend(options.score, kModel, kThick);
    chart.AddToLegend("chance (baseline)", kBaseline, kThin, kDashes);
    chart.AddToLegend("a score without errors", kBaseline, kThin, kDots);
    return chart;
}

Chart DrawLift(const Options& options, const Evaluation& e)
{
    double highest = 1.0;
    for (const Segment& s : e.segments)
        highest = std::max({highest, e.Lift(s.events, s.cases), e.Lift(s.eventsSoFar, s.casesSoFar)});
    Chart chart("Lift", Subtitle(options, e), CasesAxis(),
                {RoundAxis(0.0, 1.05 * highest, 8), "Event rate, relative to that of all cases", false});
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

Chart DrawHistogram(const Options& options, const Evaluation& e)
{
    double highest = 0.0;
    for (const Bin& bin : e.bins) highest = std::max(highest, bin.events + bin.others);
    const Axis x = RoundAxis(e.bins.front().from, e.bins.back().to, 12);
    Chart chart("Distribution of the score", Subtitle(options, e), {x, options.score, false},
                {RoundAxis(0.0, 1.05 * highest, 8), "Cases", false});
    for (const Bin& bin : e.bins) {
        chart.DrawBar(bin.from, bin.to, 0.0, bin.events, kEvents, 1.5);
        chart.DrawBar(bin.from, bin.to, bin.events, bin.events + bin.others, kOthers, 1.5);
    }
    chart.AddToLegend(options.target + " = " + options.event, kEvents, 0.0);
    chart.AddToLegend("other cases", kOthers, 0.0);
    if (options.cutoff > x.min && options.cutoff < x.max) {
        const double top = RoundAxis(0.0, 1.05 * highest, 8).max;
        chart.DrawLine({{options.cutoff, 0.0}, {options.cutoff, top}}, kBaseline, kThin, kDashes);
        const bool atRight = options.cutoff > 0.5 * (x.min + x.max);
        chart.DrawText(options.cutoff, 0.97 * top, "cutoff " + FormatShort(options.cutoff), kBaseline, atRight);
    }
    return chart;
}

} // namespace evaluate
