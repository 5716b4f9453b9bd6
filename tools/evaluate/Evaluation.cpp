#include "Evaluation.h"

#include "Axis.h"
#include "common/Cell.h"
#include "common/CsvTable.h"
#include "common/Failure.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>

namespace evaluate {

using namespace procedure;

namespace {

using MCCommon_930::MCMV;
using MCMath_930::ClassDataInfo;
using MCMath_930::LiftInfo;
using MCMath_930::MCCancelInfo;
using MCMath_930::MCContStats;
using MCMath_930::MCHistogramData;

/// Turns the rows of the file into scored cases.
class CaseReader {
public:
    CaseReader(InputFile& input, const Options& options)
        : fTable(input, options.format), fEvent(options.event), fHasFrequency(!options.frequency.empty()),
          fTarget(fTable.Find(options.target)), fScore(fTable.Find(options.score)),
          fFrequency(fHasFrequency ? fTable.Find(options.frequency) : 0),
          fEventIsNumber(ParseCell(fEvent, fEventNumber) == Cell::Number)
    {
        if (fTarget == fScore || (fHasFrequency && (fFrequency == fTarget || fFrequency == fScore)))
            throw Failure("one column is given two roles");
    }

    /// Appends the next row that can be used; false at the end.
    bool Next(std::vector<ClassDataInfo>& cases, CaseCounts& counts)
    {
        const std::vector<std::string_view>* const row = fTable.NextRow();
        if (row == nullptr) return false;
        ++counts.rows;
        double outcome = 0.0;
        const Cell kind = fTable.Parse((*row)[fTarget], outcome);
        const double score = fTable.ReadNumber(fScore, (*row)[fScore], "the score");
        const double frequency = ReadFrequency(*row);
        if (kind == Cell::Missing || MCMV::IsMissing(score)) {
            ++counts.missing;
        } else if (!(frequency > 0.0)) {
            ++counts.noFrequency;
        } else {
            ++counts.used;
            const bool hit =
                fEventIsNumber && kind == Cell::Number ? outcome == fEventNumber : (*row)[fTarget] == fEvent;
            cases.push_back({score, hit, frequency});
        }
        return true;
    }

private:
    // The gains table counts whole cases.
    double ReadFrequency(const std::vector<std::string_view>& row) const
    {
        if (!fHasFrequency) return 1.0;
        const double frequency = fTable.ReadNumber(fFrequency, row[fFrequency], "the frequency");
        if (std::floor(frequency) != frequency)
            fTable.Refuse(fFrequency, "the frequency " + Quoted(row[fFrequency]) + " is not a whole number");
        return frequency;
    }

    CsvTable fTable;
    std::string fEvent;
    bool fHasFrequency;
    std::size_t fTarget;
    std::size_t fScore;
    std::size_t fFrequency;
    double fEventNumber = 0.0;
    bool fEventIsNumber;
};

/// The share of pairs of an event and another case in which the event has the higher score, ties counting half: the
/// area under the receiver operating characteristic (Bamber 1975). The cases are sorted.
double RocArea(const std::vector<ClassDataInfo>& cases)
{
    double events = 0.0; // with a score higher than that of the current ties
    double others = 0.0;
    double area = 0.0;
    for (std::size_t i = 0; i < cases.size();) {
        double tiedEvents = 0.0;
        double tiedOthers = 0.0;
        const double score = cases[i].fdProbability;
        for (; i < cases.size() && cases[i].fdProbability == score; ++i)
            (cases[i].fbHit ? tiedEvents : tiedOthers) += cases[i].fdFreqWeight;
        area += tiedOthers * (events + 0.5 * tiedEvents);
        events += tiedEvents;
        others += tiedOthers;
    }
    return others > 0.0 ? area / (events * others) : MCMV::Missing();
}

/// What happens with each score as the cutoff; of many scores, those at which another hundredth of the cases is reached.
/// The cases are sorted.
std::vector<MCXML_930::MCPMMLQuality::RocPoint> RocPoints(const std::vector<ClassDataInfo>& cases, const Evaluation& e)
{
    std::vector<MCXML_930::MCPMMLQuality::RocPoint> points;
    double events = 0.0, others = 0.0, next = 0.0;
    if (!(e.cases > e.events)) return points;
    for (std::size_t i = 0; i < cases.size();) {
        const double score = cases[i].fdProbability;
        for (; i < cases.size() && cases[i].fdProbability == score; ++i)
            (cases[i].fbHit ? events : others) += cases[i].fdFreqWeight;
        if (events + others < next && i < cases.size()) continue;
        points.push_back({others / (e.cases - e.events), events / e.events, score});
        next = events + others + 0.01 * e.cases;
    }
    return points;
}

MCXML_930::MCVariableList Variables(const Options& options)
{
    using namespace MCXML_930;
    MCVariableList list;
    const auto add = [&](MCVariable&& variable) {
        for (const std::string& text : options.format.missing) variable.AddMissingCode(text);
        list.Add(variable);
    };
    add(MCCategoricalVariable(options.target, IMCVariable::StorageString, IMCVariable::RoleTarget));
    add(MCContinuousVariable(options.score));
    if (!options.frequency.empty()) add(MCWeightVariable(options.frequency));
    return list;
}

void Tabulate(const std::vector<LiftInfo>& table, Evaluation& out)
{
    Segment segment;
    for (const LiftInfo& info : table) {
        segment.cases = info.fnCumulativeCount - segment.casesSoFar;
        segment.casesSoFar = info.fnCumulativeCount;
        segment.events = info.fdSegmentSum;
        segment.eventsSoFar += info.fdSegmentSum;
        segment.minScore = info.fdMinScore;
        segment.meanScore = info.fdMeanScore;
        if (segment.cases > 0.0) out.segments.push_back(segment); // the last ones may be empty
    }
}

/// Bins [from, to) with round edges. Scores are often round themselves and lie on the edges, the highest one too; the
/// last bin would then hold the scores of two, so there is one more.
Axis BinAxis(const std::vector<ClassDataInfo>& cases, double low, double high, int bins)
{
    const Axis axis = RoundAxis(low, high, bins);
    const auto onEdge = [&](double score) {
        const double position = (score - axis.min) / axis.step;
        return std::fabs(position - std::round(position)) < 1e-9;
    };
    if (!onEdge(high)) return axis;
    const auto inside = [&](const ClassDataInfo& c) { return c.fdProbability < high && onEdge(c.fdProbability); };
    const auto nInside = std::ranges::count_if(cases, inside);
    const bool manyOnEdges = 100 * nInside >= static_cast<std::ptrdiff_t>(cases.size());
    return manyOnEdges ? RoundAxis(low, high + 0.5 * axis.step, bins) : axis;
}

void Describe(const std::vector<ClassDataInfo>& cases, const Options& options, Evaluation& out)
{
    MCContStats range;
    for (const ClassDataInfo& c : cases) {
        range.Update(c.fdProbability);
        out.classification.UpdateData(c.fdFreqWeight, c.fbHit, c.fdProbability >= options.cutoff);
    }
    std::tie(out.minScore, out.maxScore) = range.GetExtrema();

    const Axis axis = BinAxis(cases, out.minScore, out.maxScore, options.bins);
    const int nBins = axis.Steps();
    // A score on an edge belongs to the bin above it; rounding must not put it into the one below.
    const double below = 1e-6 * axis.step;
    MCHistogramData all(axis.min - below, axis.max - below, nBins);
    MCHistogramData events(axis.min - below, axis.max - below, nBins);
    for (const ClassDataInfo& c : cases) {
        all.UpdateData(c.fdFreqWeight, 1.0, c.fdProbability);
        if (c.fbHit) events.UpdateData(c.fdFreqWeight, 1.0, c.fdProbability);
    }
    out.meanScore = all.GetMean();
    out.stdDevOfScore = all.GetStdDev();
    for (int i = 0; i < nBins; ++i) {
        const auto bin = static_cast<std::size_t>(i);
        const double hits = events.GetBinFrequencies()[bin];
        out.bins.push_back({axis.At(i), axis.At(i + 1), hits, all.GetBinFrequencies()[bin] - hits});
    }
    out.histogram = all.GenerateMCVariateData(options.score);
}

} // namespace

Evaluation Evaluate(const Options& options, InputFile& input, Progress& progress, MCCancelInfo& cancel)
{
    constexpr std::int64_t kRowsBetweenLooks = 1024;
    const auto stopIfAsked = [&] {
        if (cancel.IsCancel()) throw Interrupted();
    };
    Evaluation out;
    out.variables = Variables(options);
    std::vector<std::vector<ClassDataInfo>> categories(1); // the event is the only one that is scored
    std::vector<ClassDataInfo>& cases = categories.front();
    CaseReader reader(input, options);
    const auto size = static_cast<double>(input.Size());
    while (reader.Next(cases, out.counts)) {
        if (out.counts.rows % kRowsBetweenLooks != 0) continue;
        stopIfAsked();
        progress.Show(size > 0.0 ? static_cast<double>(input.BytesRead()) / size : -1.0, out.counts.rows);
    }
    progress.Clear();
    stopIfAsked();

    for (const ClassDataInfo& c : cases) {
        out.cases += c.fdFreqWeight;
        if (c.fbHit) out.events += c.fdFreqWeight;
    }
    const CaseCounts& counts = out.counts;
    if (counts.used == 0)
        throw Failure(input.Name() + ": no cases are left: " + std::to_string(counts.rows) + " rows, " +
                      std::to_string(counts.missing) + " with a missing value, " + std::to_string(counts.noFrequency) +
                      " with a frequency that is missing or not positive");
    if (out.events == 0.0)
        throw Failure(input.Name() + ": column " + Quoted(options.target) + " is never " + Quoted(options.event));
    if (out.cases > std::numeric_limits<std::int32_t>::max())
        throw Failure(input.Name() + ": the frequencies add up to more cases than the gains table can count");

    MCMath_930::ClassGainsChart chart;
    chart.SetCountOfSegment(options.segments);
    Tabulate(chart.CalculateGains(categories).front(), out);
    out.rocArea = RocArea(cases);
    out.roc = RocPoints(cases, out);
    stopIfAsked();
    Describe(cases, options, out);
    return out;
}

} // namespace evaluate
