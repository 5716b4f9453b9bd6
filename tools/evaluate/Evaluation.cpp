#include "Evaluation.h"

#include "common/Axis.h"
#include "common/Cell.h"
#include "common/CsvTable.h"
#include "common/Failure.h"
#include "common/TextTable.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace evaluate {

using namespace procedure;

namespace {

using MCCommon_930::MCMV;
using MCMath_930::ExactProduct;
using MCMath_930::MCCancelInfo;
using MCMath_930::MCContStats;
using MCMath_930::MCDistFun;
using MCMath_930::MCExtended;
using MCMath_930::MCHistogramData;

struct Case {
    double score = 0.0;
    double outcome = 0.0; ///< 1 for the event
    double frequency = 1.0;
};

/// Turns the rows of the file into scored cases.
class CaseReader {
public:
    CaseReader(InputFile& input, const Options& options)
        : fTable(input, options.format), fOptions(options), fHasFrequency(!options.frequency.empty()),
          fTarget(fTable.Find(options.target)), fScore(FindScore()),
          fFrequency(fHasFrequency ? fTable.Find(options.frequency) : 0),
          fEventIsNumber(ParseCell(options.event, fEventNumber) == Cell::Number)
    {
        if (fTarget == fScore || (fHasFrequency && (fFrequency == fTarget || fFrequency == fScore)))
            throw Failure("one column is given two roles");
    }

    const std::string& ScoreName() const { return fTable.Name(fScore); }
    const std::vector<std::string>& Values() const { return fValues; }

    /// The next row; false at the end. used says whether the case can be used.
    bool Next(Case& next, bool& used, CaseCounts& counts)
    {
        const std::vector<std::string_view>* const row = fTable.NextRow();
        if (row == nullptr) return false;
        ++counts.rows;
        used = false;
        const std::string_view text = (*row)[fTarget];
        bool missing = false;
        if (fOptions.regression) {
            next.outcome = fTable.ReadNumber(fTarget, text, "the target");
            missing = MCMV::IsMissing(next.outcome);
        } else {
            double number = 0.0;
            const Cell kind = fTable.Parse(text, number);
            missing = kind == Cell::Missing;
            const bool hit = fEventIsNumber && kind == Cell::Number ? number == fEventNumber : text == fOptions.event;
            next.outcome = hit ? 1.0 : 0.0;
            if (!missing) Note(text);
        }
        next.score = fTable.ReadNumber(fScore, (*row)[fScore], "the score");
        next.frequency = ReadFrequency(*row);
        if (missing || MCMV::IsMissing(next.score))
            ++counts.missing;
        else if (!(next.frequency > 0.0))
            ++counts.noFrequency;
        else
            used = true;
        if (used) ++counts.used;
        return true;
    }

private:
    std::size_t FindScore() const
    {
        if (!fOptions.score.empty()) return fTable.Find(fOptions.score);
        for (const char* const name : {"probability", "prediction"})
            for (std::size_t i = 0; i < fTable.NColumns(); ++i)
                if (fTable.Name(i) == name) return i;
        throw Failure("--score is required: no column is named probability or prediction");
    }

    void Note(std::string_view text)
    {
        constexpr std::size_t kShown = 6;
        if (fValues.size() < kShown && std::ranges::find(fValues, text) == fValues.end()) fValues.emplace_back(text);
    }

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
    const Options& fOptions;
    bool fHasFrequency;
    std::size_t fTarget;
    std::size_t fScore;
    std::size_t fFrequency;
    double fEventNumber = 0.0;
    bool fEventIsNumber;
    std::vector<std::string> fValues;
};

using Groups = std::vector<ScoreGroup>;

/// The share of pairs of an event and another case in which the event has the higher score, ties counting half: the
/// area under the receiver operating characteristic (Bamber 1975), with the standard error of DeLong, DeLong and
/// Clarke-Pearson (1988), Biometrics 44, 837-845, from the placements of each group. Also the largest distance of both
/// distributions, and points of the curve.
void EvaluateRoc(const Options& options, const Groups& groups, Evaluation& out)
{
    const double nEvents = out.events;
    const double nOthers = out.cases - out.events;
    if (!(nOthers > 0.0)) return;
    double events = 0.0; // with a score higher than that of the group
    double others = 0.0;
    double area = 0.0;
    double largest = 0.0;
    double next = 0.0; // a point for each score, or for another hundredth of the cases
    for (const ScoreGroup& g : groups) {
        const double tied = g.cases - g.hits;
        area += tied * (events + 0.5 * g.hits);
        events += g.hits;
        others += tied;
        const double distance = std::fabs(events / nEvents - others / nOthers);
        if (distance > largest) {
            largest = distance;
            out.ksScore = g.score;
        }
        if (events + others < next && &g != &groups.back()) continue;
        out.roc.push_back({others / nOthers, events / nEvents, g.score});
        next = events + others + 0.01 * out.cases;
    }
    out.ks = largest;
    out.rocArea = area / (nEvents * nOthers);
    if (!(nEvents > 1.0) || !(nOthers > 1.0)) return;
    // Placements about their mean, which is the area for both.
    double above = 0.0; // events with higher scores
    double below = nOthers;
    double ofEvents = 0.0;
    double ofOthers = 0.0;
    for (const ScoreGroup& g : groups) {
        const double tied = g.cases - g.hits;
        below -= tied;
        const double eventPlace = (below + 0.5 * tied) / nOthers - out.rocArea;
        const double otherPlace = (above + 0.5 * g.hits) / nEvents - out.rocArea;
        ofEvents += g.hits * eventPlace * eventPlace;
        ofOthers += tied * otherPlace * otherPlace;
        above += g.hits;
    }
    out.rocError = std::sqrt(ofEvents / (nEvents - 1.0) / nEvents + ofOthers / (nOthers - 1.0) / nOthers);
    const double quantile = MCDistFun::IdfStdNorm(0.5 + 0.5 * options.level);
    out.rocLower = std::max(0.0, out.rocArea - quantile * out.rocError);
    out.rocUpper = std::min(1.0, out.rocArea + quantile * out.rocError);
}

/// Segments of equal numbers of rows, the last one with what is left; with more than 50 rows the top 1 % in front. Where
/// a segment ends among equal scores, each of their rows counts as the mean of them all: what is in the segment is what
/// is to be expected if chance decides, and the order of the file has no part in it.
void Tabulate(const Options& options, const Groups& groups, Evaluation& out)
{
    double records = 0.0;
    for (const ScoreGroup& g : groups) records += g.records;
    std::vector<double> ends;
    constexpr double kForTop = 50.0;
    if (records > kForTop) ends.push_back(std::floor(records / 100.0) + 1.0);
    const double begin = ends.empty() ? 0.0 : ends.front();
    const double each = std::max(1.0, std::floor(records / options.segments));
    for (int i = 1; i < options.segments && begin + each * i < records; ++i) ends.push_back(begin + each * i);
    ends.push_back(records);

    double done = 0.0; // rows before the current group
    std::size_t next = 0;
    Segment segment;
    double scores = 0.0;
    const auto close = [&] {
        if (segment.cases > 0.0) {
            segment.meanScore = scores / segment.cases;
            out.segments.push_back(segment);
        }
        segment.cases = segment.events = scores = 0.0;
    };
    for (const ScoreGroup& g : groups) {
        double taken = 0.0;
        while (taken < g.records) {
            const double part = std::min(g.records - taken, ends[next] - done);
            const double share = part / g.records;
            segment.cases += share * g.cases;
            segment.events += share * g.hits;
            segment.casesSoFar += share * g.cases;
            segment.eventsSoFar += share * g.hits;
            segment.minScore = g.score;
            scores += share * g.cases * g.score;
            taken += part;
            done += part;
            if (done >= ends[next] && next + 1 < ends.size()) {
                close();
                ++next;
            }
        }
    }
    close();
}

/// Bins [from, to) with round edges. Scores are often round themselves and lie on the edges, the highest one too; the
/// last bin would then hold the scores of two, so there is one more.
Axis BinAxis(const Groups& groups, double low, double high, int bins)
{
    const Axis axis = RoundAxis(low, high, bins);
    const auto onEdge = [&](double score) {
        const double position = (score - axis.min) / axis.step;
        return std::fabs(position - std::round(position)) < 1e-9;
    };
    if (!onEdge(high)) return axis;
    double inside = 0.0;
    double all = 0.0;
    for (const ScoreGroup& g : groups) {
        all += g.records;
        if (g.score < high && onEdge(g.score)) inside += g.records;
    }
    return 100.0 * inside >= all ? RoundAxis(low, high + 0.5 * axis.step, bins) : axis;
}

void DescribeScores(const Options& options, const Groups& groups, Evaluation& out)
{
    out.maxScore = groups.front().score;
    out.minScore = groups.back().score;
    const Axis axis = BinAxis(groups, out.minScore, out.maxScore, options.bins);
    const int nBins = axis.Steps();
    // A score on an edge belongs to the bin above it; rounding must not put it into the one below.
    const double below = 1e-6 * axis.step;
    MCHistogramData all(axis.min - below, axis.max - below, nBins);
    MCHistogramData events(axis.min - below, axis.max - below, nBins);
    for (const ScoreGroup& g : groups) {
        all.UpdateData(g.cases, 1.0, g.score);
        if (!options.regression) events.UpdateData(g.hits, 1.0, g.score);
    }
    out.meanScore = all.GetMean();
    out.stdDevOfScore = all.GetStdDev();
    for (int i = 0; i < nBins; ++i) {
        const auto bin = static_cast<std::size_t>(i);
        const double hits = events.GetBinFrequencies()[bin];
        out.bins.push_back({axis.At(i), axis.At(i + 1), hits, all.GetBinFrequencies()[bin] - hits});
    }
    out.histogram = all.GenerateMCVariateData(out.score);
}

/// Ten groups of about equal size, lowest scores first; equal scores stay together.
void Calibrate(const Options& options, const Groups& groups, Evaluation& out)
{
    constexpr double kGroups = 10.0;
    const double quantile = MCDistFun::IdfStdNorm(0.5 + 0.5 * options.level);
    CalibrationGroup group;
    double hits = 0.0;
    double scores = 0.0;
    double seen = 0.0;
    double chiSquare = 0.0;
    for (std::size_t i = groups.size(); i-- > 0;) {
        const ScoreGroup& g = groups[i];
        group.cases += g.cases;
        hits += g.hits;
        scores += g.cases * g.score;
        seen += g.cases;
        const double wanted = out.cases / kGroups * static_cast<double>(out.calibration.size() + 1);
        if (i > 0 && seen < wanted * (1.0 - 1e-12)) continue;
        const double n = group.cases;
        group.meanScore = scores / n;
        group.rate = hits / n;
        if (!options.regression) {
            const double q = quantile * quantile;
            const double middle = (group.rate + q / (2.0 * n)) / (1.0 + q / n);
            const double half =
                quantile / (1.0 + q / n) * std::sqrt(group.rate * (1.0 - group.rate) / n + q / (4.0 * n * n));
            group.lower = std::max(0.0, middle - half);
            group.upper = std::min(1.0, middle + half);
            const double variance = n * group.meanScore * (1.0 - group.meanScore);
            const double miss = hits - scores;
            chiSquare += variance > 0.0 ? miss * miss / variance
                         : miss == 0.0  ? 0.0
                                        : std::numeric_limits<double>::infinity();
        }
        out.calibration.push_back(group);
        group = {};
        hits = scores = 0.0;
    }
    if (options.regression || out.calibration.size() < 3 || !std::isfinite(chiSquare)) return;
    out.calibrationChiSquare = chiSquare;
    out.calibrationDf = static_cast<double>(out.calibration.size()) - 2.0;
    out.calibrationSignificance = MCDistFun::SigChi(chiSquare, out.calibrationDf);
}

void ChooseCutoff(const Options& options, const Groups& groups, Evaluation& out)
{
    const double nEvents = out.events;
    const double nOthers = out.cases - out.events;
    const auto at = [&](const char* criterion, double cutoff, double events, double others) {
        return CutoffChoice{criterion, cutoff, events / nEvents, nOthers > 0.0 ? 1.0 - others / nOthers : 1.0,
                            (events + nOthers - others) / out.cases};
    };
    CutoffChoice distance = at("sensitivity + specificity", groups.front().score, 0.0, 0.0);
    CutoffChoice correct = at("correct cases", groups.front().score, 0.0, 0.0);
    CutoffChoice balance = correct;
    double best[3] = {-1.0, -1.0, std::numeric_limits<double>::infinity()};
    double events = 0.0;
    double others = 0.0;
    for (const ScoreGroup& g : groups) {
        events += g.hits;
        others += g.cases - g.hits;
        const CutoffChoice here = at("", g.score, events, others);
        const auto take = [&](CutoffChoice& choice, const char* name, double& record, double value, bool better) {
            if (!better) return;
            record = value;
            choice = here;
            choice.criterion = name;
        };
        const double sum = here.sensitivity + here.specificity;
        const double gap = std::fabs(events + others - nEvents);
        take(distance, "sensitivity + specificity", best[0], sum, sum > best[0]);
        take(correct, "correct cases", best[1], here.correct, here.correct > best[1]);
        take(balance, "as many predicted as observed", best[2], gap, gap < best[2]);
    }
    out.cutoffs = {distance, correct, balance};
    if (options.cutoff) {
        out.cutoff = *options.cutoff;
        out.cutoffOrigin = "given";
        if (out.cutoff > out.maxScore || out.cutoff <= out.minScore)
            out.warnings.push_back("the cutoff " + FormatShort(out.cutoff) +
                                   " puts all cases on one side: the scores go from " + FormatShort(out.minScore) +
                                   " to " + FormatShort(out.maxScore));
    } else if (out.isProbability) {
        out.cutoff = 0.5;
        out.cutoffOrigin = "0.5: the scores are probabilities";
    } else {
        out.cutoff = distance.cutoff;
        out.cutoffOrigin = "largest sensitivity + specificity: the scores are no probabilities";
    }
    for (const ScoreGroup& g : groups) {
        const int predicted = g.score >= out.cutoff ? 1 : 0;
        if (g.hits > 0.0) out.classification.UpdateData(g.hits, 1, predicted);
        if (g.cases > g.hits) out.classification.UpdateData(g.cases - g.hits, 0, predicted);
    }
}

MCXML_930::MCVariableList Variables(const Options& options, const std::string& score)
{
    using namespace MCXML_930;
    MCVariableList list;
    const auto add = [&](MCVariable&& variable) {
        for (const std::string& text : options.format.missing) variable.AddMissingCode(text);
        list.Add(variable);
    };
    if (options.regression)
        add(MCContinuousVariable(options.target, IMCVariable::StorageReal, IMCVariable::RoleTarget));
    else
        add(MCCategoricalVariable(options.target, IMCVariable::StorageString, IMCVariable::RoleTarget));
    add(MCContinuousVariable(score));
    if (!options.frequency.empty()) add(MCWeightVariable(options.frequency));
    return list;
}

void CheckOutcome(const Options& options, const std::string& name, const std::vector<std::string>& values,
                  Evaluation& out)
{
    std::string seen;
    for (const std::string& value : values) seen.append(seen.empty() ? "" : ", ").append(Quoted(value));
    if (out.events == 0.0)
        throw Failure(name + ": column " + Quoted(options.target) + " is never " + Quoted(options.event) + "; it is " +
                      seen + "; --event names the value that the score predicts, --regression takes numbers");
    if (values.size() <= 2) return;
    if (!options.eventIsGiven)
        throw Failure(name + ": column " + Quoted(options.target) + " has more than two values, as " + seen +
                      "; --event names the one that the score predicts, --regression takes them as numbers");
    out.warnings.push_back(Printable(options.target) + " has more than two values: all but " + Quoted(options.event) +
                           " are taken as no event");
}

} // namespace

Evaluation Evaluate(const Options& options, InputFile& input, Progress& progress, MCCancelInfo& cancel)
{
    constexpr std::int64_t kRowsBetweenLooks = 1024;
    const auto stopIfAsked = [&] {
        if (cancel.IsCancel()) throw Interrupted();
    };
    Evaluation out;
    CaseReader reader(input, options);
    out.score = reader.ScoreName();
    out.variables = Variables(options, out.score);
    Scores scores;
    MCExtended squares; // of the errors, the absolute errors, the errors
    MCExtended absolute;
    MCExtended errors;
    MCContStats outcomes;
    const auto size = static_cast<double>(input.Size());
    Case next;
    for (bool used = false; reader.Next(next, used, out.counts);) {
        if (used) {
            scores.Add(next.score, next.frequency, next.outcome * next.frequency);
            const double error = next.outcome - next.score;
            squares += ExactProduct(error, error) * next.frequency;
            if (options.regression) {
                absolute += ExactProduct(std::fabs(error), next.frequency);
                errors += ExactProduct(error, next.frequency);
                outcomes.Update(next.outcome, next.frequency, 1.0);
            }
        }
        if (out.counts.rows % kRowsBetweenLooks != 0) continue;
        stopIfAsked();
        progress.Show(size > 0.0 ? static_cast<double>(input.BytesRead()) / size : -1.0, out.counts.rows);
    }
    progress.Clear();
    stopIfAsked();

    const CaseCounts& counts = out.counts;
    if (counts.used == 0)
        throw Failure(input.Name() + ": no cases are left: " + std::to_string(counts.rows) + " rows, " +
                      std::to_string(counts.missing) + " with a missing value, " + std::to_string(counts.noFrequency) +
                      " with a frequency that is missing or not positive");
    const Groups& groups = scores.Finish();
    if (scores.GetBits() < 52)
        out.warnings.push_back("there are more than " + std::to_string(Scores::kLimit) +
                               " different scores: they are told apart by " + std::to_string(scores.GetBits()) +
                               " bits, and equal ones count as ties");
    for (const ScoreGroup& g : groups) {
        out.cases += g.cases;
        out.events += g.hits;
    }
    if (!options.regression) CheckOutcome(options, input.Name(), reader.Values(), out);
    Tabulate(options, groups, out);
    stopIfAsked();
    DescribeScores(options, groups, out);
    if (options.regression) {
        out.meanOutcome = outcomes.GetMean();
        out.meanError = errors.high / out.cases;
        out.meanAbsoluteError = absolute.high / out.cases;
        out.rootMeanSquare = std::sqrt(squares.high / out.cases);
        const double variance = outcomes.GetVariance();
        if (!MCMV::IsMissing(variance) && variance > 0.0)
            out.rSquared = 1.0 - squares.high / (variance * (out.cases - 1.0));
        Calibrate(options, groups, out);
        return out;
    }
    EvaluateRoc(options, groups, out);
    out.isProbability = out.minScore >= 0.0 && out.maxScore <= 1.0;
    if (out.isProbability) {
        out.brier = squares.high / out.cases;
        const double chance = out.EventRate() * (1.0 - out.EventRate());
        if (chance > 0.0) out.brierSkill = 1.0 - out.brier / chance;
        Calibrate(options, groups, out);
    }
    ChooseCutoff(options, groups, out);
    return out;
}

} // namespace evaluate
