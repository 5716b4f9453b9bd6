#include "Report.h"

#include "common/TextTable.h"
#include "model/Report.h"

#include <algorithm>
#include <cmath>

namespace evaluate {

using namespace procedure;
using MCCommon_930::MCMV;

namespace {

std::string Fixed2(double x)
{
    return ToText(x, std::chars_format::fixed, 2);
}

std::string Fixed4(double x)
{
    return ToText(x, std::chars_format::fixed, 4);
}

/// Cases and events: of ties that a segment divides there may be a part.
std::string FormatCases(double x)
{
    return std::floor(x) == x ? FormatCount(x) : ToText(x, std::chars_format::fixed, 1);
}

std::string Percent(double share)
{
    return ToText(100.0 * share, std::chars_format::fixed, 1);
}

void AddSummary(const Options& options, const Evaluation& e, ResultList& list)
{
    const auto number = [](std::int64_t count) { return static_cast<double>(count); };
    list.Add("used", "Rows used", number(e.counts.used), FormatCount);
    list.Add("leftOut", "Rows left out", number(e.counts.rows - e.counts.used), FormatCount);
    list.Add("missing", "  outcome or score is missing", number(e.counts.missing), FormatCount);
    const bool frequency = !options.frequency.empty();
    list.Add("noFrequency", frequency ? "  the frequency is missing or not positive" : "", number(e.counts.noFrequency),
             FormatCount);
    list.Add("cases", frequency ? "Cases (sum of " + Printable(options.frequency) + ")" : "", e.cases, FormatCount);
    if (options.regression) {
        list.Add("rSquared", "R squared", e.rSquared);
        list.Add("rootMeanSquareError", "Root mean square error", e.rootMeanSquare);
        list.Add("meanAbsoluteError", "Mean absolute error", e.meanAbsoluteError);
        list.Add("meanError", "Mean error (outcome - score)", e.meanError);
        list.Add("meanOutcome", "Mean of the outcome", e.meanOutcome);
    } else {
        list.Add("events", "Events", e.events, FormatCount);
        list.Add("eventRate", "Event rate %", e.EventRate(), Percent);
        list.Add("areaUnderROC", "Area under the ROC curve", e.rocArea, Fixed4);
        list.Add("areaStdError", "  standard error (DeLong)", e.rocError, Fixed4);
        list.Add("areaLower", "  lower limit, " + FormatShort(100.0 * options.level) + "%", e.rocLower, Fixed4);
        list.Add("areaUpper", "  upper limit", e.rocUpper, Fixed4);
        list.Add("ks", "Kolmogorov-Smirnov distance", e.ks, Fixed4);
        list.Add("ksScore", "  at the score", e.ksScore, FormatShort);
        if (e.isProbability) {
            list.Add("brier", "Brier score", e.brier);
            list.Add("brierSkill", "  skill against the event rate", e.brierSkill, Fixed4);
            list.Add("calibrationChiSquare", "Calibration chi-square (Hosmer-Lemeshow)", e.calibrationChiSquare);
            list.Add("calibrationDf", "  degrees of freedom", e.calibrationDf, FormatCount);
            list.Add("calibrationSignificance", "  significance", e.calibrationSignificance, FormatSignificance);
        }
    }
    list.Add("", "Lowest and highest score", FormatShort(e.minScore) + " " + FormatShort(e.maxScore));
    list.Add("minScore", "", e.minScore);
    list.Add("maxScore", "", e.maxScore);
    list.Add("meanScore", "Mean of the score", e.meanScore);
    list.Add("stdDevOfScore", "Standard deviation of the score", e.stdDevOfScore);
    if (!options.regression && !e.isProbability)
        list.notes.push_back("the scores are no probabilities: no Brier score and no calibration");
}

void AddGains(const Options& options, const Evaluation& e, Results& results)
{
    const bool sums = options.regression;
    ResultTable& table =
        results.AddTable("gains", "Gains and lift, from the highest score down",
                         {{"casesSoFar", "Cases", FormatCases},
                          {"shareSoFar", "%", Percent},
                          {"events", sums ? "Sum" : "Events", sums ? FormatShort : FormatCases},
                          {"eventRate", sums ? "Mean" : "Event rate %", sums ? FormatShort : Percent},
                          {"lift", "Lift", Fixed2},
                          {"eventsSoFar", sums ? "Sum so far" : "Events so far", sums ? FormatShort : FormatCases},
                          {"gain", "Gain %", Percent},
                          {"liftSoFar", "Lift so far", Fixed2},
                          {"minScore", "Min score", FormatShort},
                          {"meanScore", "Mean score", FormatShort}});
    // Shares of a sum that is not positive mean nothing.
    const bool shares = e.events > 0.0;
    const auto known = [&](double x) { return shares ? x : MCMV::Missing(); };
    for (const Segment& s : e.segments)
        table.rows.push_back({s.casesSoFar, s.casesSoFar / e.cases, s.events, s.events / s.cases,
                              known(e.Lift(s.events, s.cases)), s.eventsSoFar, known(s.eventsSoFar / e.events),
                              known(e.Lift(s.eventsSoFar, s.casesSoFar)), s.minScore, s.meanScore});
}

void AddCalibration(const Options& options, const Evaluation& e, Results& results)
{
    if (e.calibration.empty()) return;
    const bool sums = options.regression;
    ResultTable& table = results.AddTable("calibration", "Calibration, from the lowest score up",
                                          {{"cases", "Cases", FormatCount},
                                           {"meanScore", "Mean score", FormatShort},
                                           {"rate", sums ? "Mean outcome" : "Event rate", FormatShort},
                                           {"lower", sums ? "" : "Lower limit", Fixed4},
                                           {"upper", sums ? "" : "Upper limit", Fixed4}});
    for (const CalibrationGroup& g : e.calibration)
        table.rows.push_back({g.cases, g.meanScore, g.rate, g.lower, g.upper});
}

void AddClassification(const Options& options, const Evaluation& e, Results& results)
{
    ResultTable& choices = results.AddTable("cutoffs", "Cutoffs to choose from",
                                            {{"criterion", "Best by"},
                                             {"cutoff", "Cutoff", FormatShort},
                                             {"sensitivity", "Sensitivity %", Percent},
                                             {"specificity", "Specificity %", Percent},
                                             {"correct", "Correct %", Percent}});
    for (const CutoffChoice& c : e.cutoffs)
        choices.rows.push_back({c.criterion, c.cutoff, c.sensitivity, c.specificity, c.correct});

    const MCMath_930::MCRectMatrix& m = e.classification.GetMatrix();
    const std::string event = Printable(options.event);
    std::string title = "Classification with the cutoff " + FormatShort(e.cutoff);
    if (e.cutoffOrigin != "given") title += " (" + e.cutoffOrigin + ")";
    ResultTable& table = results.AddTable("classification", title,
                                          {{"observed", "Observed"},
                                           {"predictedEvent", "Predicted " + event, FormatCount},
                                           {"predictedOther", "Predicted other", FormatCount},
                                           {"correct", "Correct %", Percent}});
    for (const int row : {1, 0}) {
        const double total = m.GetElem(row, 0) + m.GetElem(row, 1);
        table.rows.push_back({row == 1 ? event : std::string("other"), m.GetElem(row, 1), m.GetElem(row, 0),
                              total > 0.0 ? m.GetElem(row, row) / total : MCMV::Missing()});
    }
    const double predicted = m.GetElem(0, 1) + m.GetElem(1, 1);
    table.rows.push_back(
        {std::string("All"), predicted, e.cases - predicted, (m.GetElem(0, 0) + m.GetElem(1, 1)) / e.cases});
}

/// Bars of up to kWidth characters: # for events, then - for other cases.
void AddHistogram(const Options& options, const Evaluation& e, Results& results)
{
    constexpr double kWidth = 50.0;
    double highest = 0.0;
    for (const Bin& bin : e.bins) highest = std::max(highest, bin.events + bin.others);
    ResultTable& table = results.AddTable("histogram",
                                          options.regression ? "Distribution of the score"
                                                             : "Distribution of the score: # events, - other cases",
                                          {{"from", "From", FormatShort},
                                           {"to", "To", FormatShort},
                                           {"events", options.regression ? "" : "Events", FormatCount},
                                           {"others", options.regression ? "Cases" : "Others", FormatCount}});
    for (const Bin& bin : e.bins) {
        table.rows.push_back({bin.from, bin.to, bin.events, bin.others});
        const auto length = [&](double count) { return static_cast<std::size_t>(count / highest * kWidth + 0.5); };
        const std::size_t whole = length(bin.events + bin.others);
        const std::size_t events = std::min(length(bin.events), whole);
        table.drawing.append(events, '#').append(whole - events, '-').append("\n");
    }
}

} // namespace

Results Report(const Options& options, const Evaluation& e)
{
    Results results("evaluate", options.regression ? "Evaluation of " + Printable(e.score) + " as a prediction of " +
                                                         Printable(options.target)
                                                   : "Evaluation of " + Printable(e.score) + " as a predictor of " +
                                                         Printable(options.target) + " = " + Printable(options.event));
    AddSummary(options, e, results.AddList("evaluation"));
    model::AddVariables(e.variables, results);
    AddGains(options, e, results);
    AddCalibration(options, e, results);
    if (!options.regression) AddClassification(options, e, results);
    AddHistogram(options, e, results);
    results.SetMain("gains");
    return results;
}

} // namespace evaluate
