#include "Report.h"

#include "common/TextTable.h"

#include <algorithm>
#include <cmath>

namespace evaluate {

using namespace procedure;
using MCCommon_930::MCMV;

namespace {

std::string Fixed(double x, int decimals)
{
    return MCMV::IsMissing(x) ? "." : ToText(x, std::chars_format::fixed, decimals);
}

std::string Percent(double share)
{
    return Fixed(100.0 * share, 1);
}

std::string FormatSummary(const Options& options, const Evaluation& e)
{
    TextTable table;
    table.AddRow({"Rows used", std::to_string(e.counts.used)});
    table.AddRow({"Rows left out", std::to_string(e.counts.rows - e.counts.used)});
    table.AddRow({"  outcome or score is missing", std::to_string(e.counts.missing)});
    if (!options.frequency.empty()) {
        table.AddRow({"  the frequency is missing or not positive", std::to_string(e.counts.noFrequency)});
        table.AddRow({"Cases (sum of " + Printable(options.frequency) + ")", FormatCount(e.cases)});
    }
    table.AddRow({"Events", FormatCount(e.events)});
    table.AddRow({"Event rate %", Percent(e.EventRate())});
    table.AddRow({"Area under the ROC curve", Fixed(e.rocArea, 4)});
    table.AddRow({"Lowest and highest score", FormatShort(e.minScore) + " " + FormatShort(e.maxScore)});
    table.AddRow({"Mean of the score", FormatNumber(e.meanScore)});
    table.AddRow({"Standard deviation of the score", FormatNumber(e.stdDevOfScore)});
    return table.Format();
}

std::string FormatGains(const Evaluation& e)
{
    TextTable table;
    table.AddRow({"Cases", "%", "Events", "Event rate %", "Lift", "Events so far", "Gain %", "Lift so far", "Min score",
                  "Mean score"});
    for (const Segment& s : e.segments)
        table.AddRow({FormatCount(s.casesSoFar), Percent(s.casesSoFar / e.cases), FormatCount(s.events),
                      Percent(s.events / s.cases), Fixed(e.Lift(s.events, s.cases), 2), FormatCount(s.eventsSoFar),
                      Percent(s.eventsSoFar / e.events), Fixed(e.Lift(s.eventsSoFar, s.casesSoFar), 2),
                      FormatShort(s.minScore), FormatShort(s.meanScore)});
    return table.Format();
}

std::string FormatClassification(const Options& options, const Evaluation& e)
{
    const MCMath_930::MCRectMatrix& m = e.classification.GetMatrix();
    const std::string event = Printable(options.event);
    TextTable table;
    table.AddRow({"Observed", "Predicted " + event, "Predicted other", "Correct %"});
    for (const int row : {1, 0}) {
        const double total = m.GetElem(row, 0) + m.GetElem(row, 1);
        table.AddRow({row == 1 ? event : "other", FormatCount(m.GetElem(row, 1)), FormatCount(m.GetElem(row, 0)),
                      total > 0.0 ? Percent(m.GetElem(row, row) / total) : "."});
    }
    const double predicted = m.GetElem(0, 1) + m.GetElem(1, 1);
    table.AddRow({"All", FormatCount(predicted), FormatCount(e.cases - predicted),
                  Percent((m.GetElem(0, 0) + m.GetElem(1, 1)) / e.cases)});
    return table.Format();
}

/// Bars of up to kWidth characters: # for events, then - for other cases.
std::string FormatHistogram(const Evaluation& e)
{
    constexpr double kWidth = 50.0;
    double highest = 0.0;
    for (const Bin& bin : e.bins) highest = std::max(highest, bin.events + bin.others);
    TextTable table;
    table.AddRow({"From", "To", "Events", "Others"});
    for (const Bin& bin : e.bins)
        table.AddRow({FormatShort(bin.from), FormatShort(bin.to), FormatCount(bin.events), FormatCount(bin.others)});
    const std::string text = table.Format();
    std::string out;
    std::size_t line = 0;
    for (auto bin = e.bins.begin();; ++bin) {
        const std::size_t end = text.find('\n', line);
        out += text.substr(line, end - line);
        if (line > 0) {
            const auto length = [&](double count) { return static_cast<std::size_t>(count / highest * kWidth + 0.5); };
            const Bin& current = *(bin - 1);
            const std::size_t whole = length(current.events + current.others);
            const std::size_t events = std::min(length(current.events), whole);
            if (whole > 0) out += "  " + std::string(events, '#') + std::string(whole - events, '-');
        }
        out += '\n';
        if (bin == e.bins.end()) return out;
        line = end + 1;
    }
}

} // namespace

std::string FormatReport(const Options& options, const Evaluation& e)
{
    std::string text = "Evaluation of " + Printable(options.score) + " as a predictor of " + Printable(options.target) +
                       " = " + Printable(options.event) + "\n\n";
    text += FormatSummary(options, e);
    text += '\n';
    text += FormatVariables(e.variables);
    text += "\nGains and lift, from the highest score down\n" + FormatGains(e);
    text += "\nClassification with the cutoff " + FormatShort(options.cutoff) + "\n" + FormatClassification(options, e);
    text += "\nDistribution of the score: # events, - other cases\n" + FormatHistogram(e);
    return text;
}

} // namespace evaluate
