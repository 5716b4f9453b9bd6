#include "Summary.h"

#include "common/Axis.h"
#include "common/Cell.h"
#include "common/Results.h"
#include "common/TextTable.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace describe {

using namespace procedure;
using MCCommon_930::MCMV;

double Rounded(double x, int digits)
{
    if (MCMV::IsMissing(x) || !std::isfinite(x)) return x;
    char text[64];
    const char* const end = std::to_chars(text, text + sizeof text, x, std::chars_format::scientific, digits - 1).ptr;
    double rounded = x;
    std::from_chars(text, end, rounded);
    return rounded;
}

namespace {

/// From here on a column of whole numbers is more likely measured or counted than coded.
constexpr double kFewValues = 20.0;
/// Among so many times as many numbers, texts are likely to be marks for missing values.
constexpr double kFewTexts = 9.0;

std::string Count(double n, const char* one, const char* many)
{
    return FormatCount(n) + ' ' + (n == 1.0 ? one : many);
}

/// The most frequent values: by cases, then in the order of numbers and texts.
void FindLevels(const ColumnState& state, int count, ColumnSummary& out)
{
    out.levelsAreKnown = state.texts.IsExact() && state.sketch.IsExact();
    out.differentIsExact = out.levelsAreKnown;
    // A sketch that is not exact has seen more different numbers than it has room for.
    out.different =
        state.texts.GetDistinct() + (state.sketch.IsExact() ? state.sketch.GetNBuckets() : state.sketch.GetLimit());
    if (!out.levelsAreKnown) return;
    std::vector<std::pair<std::string, double>> all;
    for (const auto& bucket : state.sketch.GetBuckets()) {
        const double pieces[][2] = {{bucket.min, bucket.minWeight}, {bucket.max, bucket.maxWeight}};
        all.emplace_back(CsvNumber(pieces[0][0]), pieces[0][1]);
        if (bucket.min != bucket.max) all.emplace_back(CsvNumber(pieces[1][0]), pieces[1][1]);
    }
    for (const auto& [text, cases] : state.texts.GetCounts()) all.emplace_back(text, cases);
    out.different = static_cast<double>(all.size());
    std::ranges::stable_sort(all, [](const auto& a, const auto& b) { return a.second > b.second; });
    if (all.size() > At(count)) all.resize(At(count));
    out.levels = std::move(all);
}

void FindKind(const ColumnState& state, ColumnSummary& out, std::vector<std::string>& warnings)
{
    const double values = out.values;
    std::string different = out.differentIsExact ? "" : state.sketch.IsExact() ? "about " : "more than ";
    different += FormatCount(out.different) + " different";
    const auto example = [&] { return Quoted(state.texts.GetCounts().begin()->first); };
    if (!(values > 0.0)) {
        out.kind = "empty";
        out.why = "no value that is not missing";
    } else if (out.different == 1.0 && out.differentIsExact) {
        out.kind = "constant";
        out.why = "the one value is " + (state.textCases > 0.0 ? example() : CsvNumber(out.minimum));
    } else if (state.textCases > 0.0 && out.numbers >= kFewTexts * state.textCases) {
        out.kind = "number";
        out.why =
            Count(state.textCases, "value is text", "values are text") + ", as " + example() + ", the others numbers";
        warnings.push_back(Printable(state.name) + ": " + Count(state.textCases, "value is text", "values are text") +
                           " among numbers, as " + example() + "; --missing says what means a missing value");
    } else if (state.textCases > 0.0 && out.numbers > 0.0) {
        out.kind = "factor";
        out.why = Count(state.textCases, "text", "texts") + " and " + Count(out.numbers, "number", "numbers") + ", " +
                  different;
    } else if (state.textCases > 0.0) {
        const bool all = out.different >= values && values > kFewValues;
        out.kind = all ? "identifier" : "factor";
        out.why = all ? "texts, each of them once" : "texts, " + different;
    } else if (out.different == 2.0) {
        out.kind = "binary";
        out.why = "numbers, two different: " + CsvNumber(out.minimum) + " and " + CsvNumber(out.maximum);
    } else if (state.wholeCases == out.numbers && out.differentIsExact && out.different <= kFewValues) {
        out.kind = "whole number";
        out.why = "whole numbers, " + different + ": counts, or codes of a factor";
    } else {
        out.kind = "number";
        out.why = (state.wholeCases == out.numbers ? "whole numbers, " : "numbers, ") + different;
    }
}

/// Bins [from, to) with round edges. A value on an edge belongs to the bin above it; where the largest values lie on the
/// last edge, there is a bin more, unless they are all that it would hold.
void FindBins(const ColumnState& state, int count, ColumnSummary& out)
{
    if (!(out.numbers > 0.0)) return;
    const auto pieces = state.sketch.GetPieces();
    Axis axis = RoundAxis(out.minimum, out.maximum, count);
    const auto onEdge = [&](double x) {
        const double position = (x - axis.min) / axis.step;
        return std::fabs(position - std::round(position)) < 1e-9;
    };
    double inside = 0.0;
    for (const auto& piece : pieces)
        if (piece.min == piece.max && piece.max < out.maximum && onEdge(piece.max)) inside += piece.weight;
    if (onEdge(out.maximum) && 100.0 * inside >= out.numbers)
        axis = RoundAxis(out.minimum, out.maximum + 0.5 * axis.step, count);
    const int nBins = axis.Steps();
    for (int i = 0; i < nBins; ++i) out.bins.push_back({axis.At(i), axis.At(i + 1), 0.0});
    const auto binOf = [&](double x) {
        return std::clamp(static_cast<int>(std::floor((x - axis.min) / axis.step + 1e-9)), 0, nBins - 1);
    };
    for (const auto& piece : pieces) {
        const int first = binOf(piece.min);
        const int last = binOf(piece.max);
        for (int i = first; i <= last; ++i) {
            const double from = std::max(piece.min, out.bins[At(i)].from);
            const double to = std::min(piece.max, out.bins[At(i)].to);
            const double share = first == last ? 1.0 : std::max(0.0, to - from) / (piece.max - piece.min);
            out.bins[At(i)].cases += share * piece.weight;
        }
    }
    for (Bin& bin : out.bins) bin.cases = std::round(bin.cases * 1e3) / 1e3;
}

/// @param exact  null: the moments are those of state
ColumnSummary SummarizeColumn(const Options& options, const ColumnState& state, const ExactMoments* exact,
                              std::size_t place, std::vector<std::string>& warnings)
{
    ColumnSummary out;
    out.name = state.name;
    out.values = state.Values();
    out.missing = state.Missing();
    for (const auto& [code, cases] : state.missing) out.missingCodes.emplace_back(code, cases);
    out.numbers = state.NumberCases();
    out.mean = exact ? exact->Mean(place) : Rounded(state.sums.GetMean());
    double variance = state.sums.GetVariance();
    if (exact && !MCMV::IsMissing(variance)) variance = exact->Squares(place) / (state.NumberCases() - 1.0);
    out.stdDeviation = MCMV::IsMissing(variance) ? variance
                       : exact                   ? std::sqrt(variance)
                                                 : Rounded(std::sqrt(variance));
    out.skewness = Rounded(state.sums.GetSkewness());
    out.kurtosis = Rounded(state.sums.GetKurtosis());
    out.minimum = state.sketch.GetMin();
    out.maximum = state.sketch.GetMax();
    FindLevels(state, options.levels, out);
    FindKind(state, out, warnings);
    if (!(out.numbers > 0.0)) return out;
    out.rankError = state.sketch.GetRankError();
    for (const double share : options.quantiles) {
        Quantile quantile{share};
        quantile.value = Rounded(state.sketch.GetQuantile(share));
        state.sketch.GetQuantileBounds(share, quantile.lowest, quantile.highest);
        if (quantile.lowest != quantile.highest)
            out.quantileError = std::max(out.quantileError, std::ldexp(1.0, -state.sketch.GetFractionBits()));
        out.quantiles.push_back(quantile);
    }
    FindBins(state, options.bins, out);
    return out;
}

} // namespace

Summary Summarize(const Options& options, const Description& data)
{
    Summary out;
    const ExactMoments* const exact = data.exact ? &*data.exact : nullptr;
    for (std::size_t j = 0; j < data.columns.size(); ++j)
        out.columns.push_back(SummarizeColumn(options, data.columns[j], exact, j, out.warnings));
    if (data.pairsWereDropped) {
        if (options.correlations > 0)
            out.warnings.push_back("there are " + std::to_string(data.numeric.size()) +
                                   " numeric columns: correlations only of up to --correlations " +
                                   std::to_string(options.correlations) + ", or of those that --columns names");
        return out;
    }
    // In the order of the columns, whichever showed its first number first.
    std::vector<std::pair<int, int>> places;
    for (std::size_t k = 0; k < data.numeric.size(); ++k) {
        const ColumnSummary& column = out.columns[At(data.numeric[k])];
        if (column.kind != "factor" && column.kind != "constant")
            places.emplace_back(data.numeric[k], static_cast<int>(k));
    }
    std::ranges::sort(places);
    const int stride = PairSums::Stride(data.hasWeight);
    for (std::size_t i = 0; i < places.size(); ++i)
        for (std::size_t j = 0; j < i; ++j) {
            if (exact != nullptr) {
                out.correlations.push_back(
                    {places[j].first, places[i].first,
                     exact->GetPair(places[i].second, places[j].second, ExactMoments::Stride(data.hasWeight))});
                continue;
            }
            PairStatistics pair = data.pairs.Get(places[i].second, places[j].second, stride);
            // Sums of other blocks differ in the fifteenth decimal, which may not show where parts were merged.
            if (!MCMV::IsMissing(pair.correlation)) pair.correlation = std::round(pair.correlation * 1e10) / 1e10 + 0.0;
            for (double* const number : {&pair.t, &pair.significance}) *number = Rounded(*number, 9);
            out.correlations.push_back({places[j].first, places[i].first, pair});
        }
    return out;
}

} // namespace describe
