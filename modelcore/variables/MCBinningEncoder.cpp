// The binning encoder but for its ways to choose cuts (MCBinningEncoderCuts.cpp).
#include "modelcore/variables/MCBinningEncoder.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/variables/internal/Outliers.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>

namespace MCXML_930 {

using internal::IsUnknown;
using internal::StateFields;
using internal::StateTree;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;
using MCMath_930::MCQuantileSketch;

namespace {

constexpr std::initializer_list<const char*> kMethods{"given cuts", "equal width", "equal frequency", "deviations",
                                                      "mdlp"};
constexpr std::initializer_list<const char*> kCloseds{"upper", "lower"};
constexpr std::initializer_list<const char*> kOutputs{"index", "indicator"};
constexpr int kMostBins = 1000000;
constexpr int kMostDeviations = 100;

bool AreAscending(const std::vector<double>& cuts)
{
    const auto legal = [](double cut) { return std::isfinite(cut) && !MCMV::IsMissing(cut); };
    return std::all_of(cuts.begin(), cuts.end(), legal) &&
           std::adjacent_find(cuts.begin(), cuts.end(), std::greater_equal<>()) == cuts.end();
}

/// The bin of each value, which is the number of cuts below it, by a binary search without branches: a value steps over
/// half of the cuts that are left when the last of these is below it. Many values search at the same time.
template <class Above>
void FindBins(std::span<const double> x, const std::vector<double>& cuts, std::size_t* bins, Above above)
{
    const double* const c = cuts.data();
    const auto search = [&](const double* values, std::size_t* found, auto count) {
        constexpr std::size_t kCount = decltype(count)::value;
        std::array<std::size_t, kCount> at{};
        for (std::size_t left = cuts.size(); left > 1;) {
            const std::size_t half = left / 2;
            for (std::size_t k = 0; k < kCount; ++k) at[k] += above(values[k], c[at[k] + half - 1]) ? half : 0;
            left -= half;
        }
        for (std::size_t k = 0; k < kCount; ++k)
            found[k] = at[k] + (!cuts.empty() && above(values[k], c[at[k]]) ? 1 : 0);
    };
    constexpr std::size_t kTogether = 4;
    std::size_t i = 0;
    for (; i + kTogether <= x.size(); i += kTogether)
        search(&x[i], bins + i, std::integral_constant<std::size_t, kTogether>());
    for (; i < x.size(); ++i) search(&x[i], bins + i, std::integral_constant<std::size_t, 1>());
}

} // namespace

MCBinningEncoder::MCBinningEncoder(std::string field) : MCEncoderBase(std::move(field)) {}

bool MCBinningEncoder::SetMethod(Method method, int count, bool legal)
{
    if (!IsFresh() || !legal) return false;
    fMethod = method;
    fnCount = count;
    fvGivenCuts.clear();
    return true;
}

bool MCBinningEncoder::SetCuts(const std::vector<double>& cuts)
{
    std::vector<double> given(cuts);
    if (!SetMethod(MethodGivenCuts, static_cast<int>(cuts.size()) + 1, AreAscending(cuts))) return false;
    fvGivenCuts.swap(given);
    return true;
}

bool MCBinningEncoder::SetEqualWidth(int bins)
{
    return SetMethod(MethodEqualWidth, bins, bins >= 1 && bins <= kMostBins);
}

bool MCBinningEncoder::SetEqualFrequency(int bins)
{
    return SetMethod(MethodEqualFrequency, bins, bins >= 1 && bins <= kMostBins);
}

bool MCBinningEncoder::SetDeviations(int count, bool cutAtMean)
{
    if (!SetMethod(MethodDeviations, count, count >= 1 && count <= kMostDeviations)) return false;
    fbCutAtMean = cutAtMean;
    return true;
}

bool MCBinningEncoder::SetMDLP()
{
    return SetMethod(MethodMDLP, 0, true);
}

bool MCBinningEncoder::SetClosed(Closed closed)
{
    if (!IsFresh() || closed < ClosedUpper || closed > ClosedLower) return false;
    fClosed = closed;
    return true;
}

bool MCBinningEncoder::SetEndsClosed(double lowest, double highest, OutlierRule rule)
{
    const bool finite = std::isfinite(lowest) && std::isfinite(highest);
    if (!IsFresh() || !internal::IsRule(rule) || !finite || !internal::AreLimitsLegal(lowest, highest)) return false;
    fbEndsClosed = true;
    fdLowLimit = lowest;
    fdHighLimit = highest;
    fOutlierRule = rule;
    return true;
}

bool MCBinningEncoder::SetOutput(Output output)
{
    if (!IsFresh() || output < OutputIndex || output > OutputIndicator) return false;
    fOutput = output;
    return true;
}

bool MCBinningEncoder::SetSketchLimit(int limit)
{
    if (!IsFresh() || limit < MCQuantileSketch::kMinLimit || limit > MCQuantileSketch::kMaxLimit) return false;
    fnSketchLimit = limit;
    return true;
}

// Learning

bool MCBinningEncoder::IsTargetLegal(const Value& target) const
{
    return target.GetType() <= Value::TypeString;
}

bool MCBinningEncoder::IsBeyondLimits(double x) const
{
    return fbEndsClosed && internal::IsBeyond(x, fdLowLimit, fdHighLimit);
}

MCEncoderBase::Learned MCBinningEncoder::LearnValid(const Value& value, const Value* target, double weight)
{
    double x = 0.0;
    if (!internal::ToNumber(value, x)) return Learned::Refused;
    if (IsBeyondLimits(x)) return fOutlierRule == OutlierAsMissing ? Learned::Missing : Learned::Refused;
    if (!std::isfinite(x)) return Learned::Refused;
    const int known = target != nullptr ? fClasses.Find(*target) : fvValues.empty() ? -1 : 0;
    if (known >= 0) {
        if (!fvValues[static_cast<std::size_t>(known)].Update(x, weight)) return Learned::Refused;
        // Of one number as a real and as an integer, the integer is the name of the class.
        if (target != nullptr && target->GetType() == Value::TypeInteger) fClasses.Insert(*target);
    } else {
        // A class whose values there is no memory for must not be left behind: it comes in last.
        MCQuantileSketch first(fnSketchLimit);
        if (!first.Update(x, weight)) return Learned::Refused;
        if (fvValues.size() == fvValues.capacity()) fvValues.reserve(2 * fvValues.size() + 1);
        if (target != nullptr) fClasses.Insert(*target);
        fvValues.push_back(std::move(first));
    }
    if (fMethod == MethodDeviations) fStats.Update(x, weight, 1.0);
    return Learned::Valid;
}

bool MCBinningEncoder::LearnPlain(std::span<const double> x)
{
    if (fMethod == MethodDeviations || fbEndsClosed) return false;
    constexpr double largest = std::numeric_limits<double>::max(); // minus this is the missing value
    std::size_t special = 0;
    for (const double value : x) special += ((value > -largest) & (value <= largest)) ? std::size_t{0} : std::size_t{1};
    if (special != 0) return false;
    if (fvValues.empty()) fvValues.emplace_back(fnSketchLimit);
    fvValues.front().UpdateBlock(x);
    return true;
}

void MCBinningEncoder::MergeLearned(const MCEncoderBase& base)
{
    const auto& other = static_cast<const MCBinningEncoder&>(base);
    internal::CategoryIndex classes(fClasses);
    std::vector<MCQuantileSketch> values(fvValues);
    for (std::size_t i = 0; i < other.fvValues.size(); ++i) {
        const std::size_t place =
            NeedsTarget() ? static_cast<std::size_t>(classes.Insert(other.fClasses.At(static_cast<int>(i)))) : 0;
        if (place >= values.size()) values.emplace_back(fnSketchLimit);
        values[place].Merge(other.fvValues[i]);
    }
    fClasses = std::move(classes);
    fvValues.swap(values);
    fStats.Pool(other.fStats);
}

void MCBinningEncoder::ForgetLearned() noexcept
{
    fClasses = {};
    fvValues.clear();
    fStats = {};
}

MCQuantileSketch MCBinningEncoder::AllValues() const
{
    if (fvValues.size() == 1) return fvValues.front();
    MCQuantileSketch all(fnSketchLimit);
    for (const MCQuantileSketch& values : fvValues) all.Merge(values);
    return all;
}

MCStatus MCBinningEncoder::FinishLearned(int& columns)
{
    const MCQuantileSketch all = AllValues();
    const std::vector<Piece> pieces = all.GetPieces();
    const double lowest = fbEndsClosed && !MCMV::IsMissing(fdLowLimit) ? fdLowLimit : all.GetMin();
    const double highest = fbEndsClosed && !MCMV::IsMissing(fdHighLimit) ? fdHighLimit : all.GetMax();
    const bool limited = !MCMV::IsMissing(lowest) && !MCMV::IsMissing(highest);
    double replacement = all.GetQuantile(0.5);
    const bool replaces = GetMissingRule() == MissingReplaced;
    if (!GetMissingReplacement().IsNull() && !internal::ToNumber(GetMissingReplacement(), replacement) && replaces)
        return {FinishUnknownReplacement, false};

    std::vector<double> cuts;
    bool finite = true;
    double rankError = 0.0;
    switch (fMethod) {
    case MethodGivenCuts: cuts = fvGivenCuts; break;
    case MethodEqualWidth:
        if (limited) cuts = WidthCuts(lowest, highest);
        break;
    case MethodEqualFrequency:
        cuts = FrequencyCuts(pieces);
        rankError = all.GetRankError();
        break;
    case MethodDeviations: cuts = DeviationCuts(pieces, all.IsExact(), finite); break;
    case MethodMDLP:
        cuts = MDLPCuts();
        rankError = all.GetRankError();
        break;
    }
    if (!finite || !AreAscending(cuts)) return {FinishNotFinite, false};
    // With closed ends every bin must lie between them; given cuts beyond are a contradiction, others are left out.
    if (fbEndsClosed && !cuts.empty()) {
        const auto beyond = [&](double cut) { return !limited || cut <= lowest || cut >= highest; };
        if (fMethod == MethodGivenCuts && limited && std::any_of(cuts.begin(), cuts.end(), beyond))
            return {FinishNotPossible, false};
        if (limited) cuts.erase(std::remove_if(cuts.begin(), cuts.end(), beyond), cuts.end());
    }

    // Nothing below refuses.
    fvCuts.swap(cuts);
    fdLowest = lowest;
    fdHighest = highest;
    fdReplacement = replacement;
    fdRankError = rankError;
    CountBins(pieces);
    fvValues.clear();
    fClasses = {};
    const int bins = GetNBins() + (GetMissingRule() == MissingOwnCategory ? 1 : 0);
    columns = fOutput == OutputIndex ? 1 : bins;
    MCStatus status;
    const int asked = fMethod == MethodDeviations ? 2 * fnCount + (fbCutAtMean ? 2 : 1) : fnCount;
    if (pieces.empty()) {
        status = {FinishNoValues, true};
    } else if (all.GetMin() == all.GetMax()) {
        status = {FinishConstant, true};
    } else if (GetNBins() < asked) {
        status = {FinishFewerBins, true};
        status.SetDiscreteDatum(0, asked);
        status.SetDiscreteDatum(1, GetNBins());
    } else if (rankError > 0.0) {
        status = {FinishApproximate, true};
        status.SetScaleDatum(0, rankError);
    }
    return status;
}

/// What is spread over several bins is shared out by the straight line.
void MCBinningEncoder::CountBins(const std::vector<Piece>& pieces)
{
    fvWeights.assign(fvCuts.size() + 1, 0.0);
    for (const Piece& piece : pieces) {
        double left = piece.weight, from = piece.min;
        auto bin = static_cast<std::size_t>(FindBin(piece.min));
        for (; bin < fvCuts.size() && fvCuts[bin] < piece.max && piece.min < piece.max; ++bin) {
            const double share = left * ((0.5 * fvCuts[bin] - 0.5 * from) / (0.5 * piece.max - 0.5 * from));
            fvWeights[bin] += share;
            left -= share;
            from = fvCuts[bin];
        }
        fvWeights[bin] += left;
    }
}

// Encoding

int MCBinningEncoder::FindBin(double x) const
{
    if (IsUnknown(x)) return -1;
    const auto at = fClosed == ClosedUpper ? std::lower_bound(fvCuts.begin(), fvCuts.end(), x)
                                           : std::upper_bound(fvCuts.begin(), fvCuts.end(), x);
    return static_cast<int>(at - fvCuts.begin());
}

void MCBinningEncoder::WriteBin(int bin, double* columns) const
{
    if (fOutput == OutputIndex) {
        columns[0] = static_cast<double>(bin);
    } else {
        std::fill_n(columns, GetNColumns(), 0.0);
        columns[bin] = 1.0;
    }
}

IMCEncoder::Outcome MCBinningEncoder::EncodeMissingAs(Outcome outcome, double* columns) const
{
    switch (GetMissingRule()) {
    case MissingStays: FillMissing(columns); return outcome;
    case MissingOwnCategory: WriteBin(GetNBins(), columns); return outcome;
    case MissingReplaced:
        if (MCMV::IsMissing(fdReplacement)) return Refused;
        WriteBin(FindBin(fdReplacement), columns);
        return outcome;
    default: return Refused;
    }
}

IMCEncoder::Outcome MCBinningEncoder::EncodeNumber(double x, double* columns) const
{
    if (IsUnknown(x)) return EncodeMissingAs(EncodedMissing, columns);
    Outcome outcome = Encoded;
    if (fbEndsClosed && internal::IsBeyond(x, fdLowest, fdHighest)) {
        if (fOutlierRule == OutlierRefused) return Refused;
        if (fOutlierRule == OutlierAsMissing) return EncodeMissingAs(EncodedOutlier, columns);
        if (fOutlierRule == OutlierClipped) outcome = EncodedOutlier;
    }
    WriteBin(FindBin(x), columns);
    return outcome;
}

IMCEncoder::Outcome MCBinningEncoder::EncodeOne(const Value& value, double* columns) const
{
    double x = 0.0;
    return internal::ToNumber(value, x) ? EncodeNumber(x, columns) : Refused;
}

int MCBinningEncoder::EncodeRows(std::span<const double> x, double* rows, std::size_t stride, Outcome* outcomes) const
{
    constexpr std::size_t kPiece = 256;
    std::array<std::size_t, kPiece> bins; // filled as far as it is read
    // Above the missing value, which is the lowest double; minus infinity goes the long way too. An end may be open alone.
    const double unlimited = std::nextafter(MCMV::Missing(), 0.0);
    const double lowest = fbEndsClosed ? std::max(fdLowest, unlimited) : unlimited;
    const double highest =
        fbEndsClosed && !MCMV::IsMissing(fdHighest) ? fdHighest : std::numeric_limits<double>::infinity();
    int encoded = 0;
    for (std::size_t from = 0; from < x.size(); from += kPiece) {
        const std::span<const double> piece = x.subspan(from, std::min(kPiece, x.size() - from));
        double* const out = rows + from * stride;
        std::size_t special = 0;
        for (const double value : piece)
            special += ((value >= lowest) & (value <= highest)) ? std::size_t{0} : std::size_t{1};
        if (special != 0) {
            for (std::size_t i = 0; i < piece.size(); ++i)
                encoded += Settle(EncodeNumber(piece[i], out + i * stride), out + i * stride, from + i, outcomes);
            continue;
        }
        if (fClosed == ClosedUpper)
            FindBins(piece, fvCuts, bins.data(), [](double value, double cut) { return value > cut; });
        else
            FindBins(piece, fvCuts, bins.data(), [](double value, double cut) { return value >= cut; });
        if (fOutput == OutputIndex)
            for (std::size_t i = 0; i < piece.size(); ++i) out[i * stride] = static_cast<double>(bins[i]);
        else
            for (std::size_t i = 0; i < piece.size(); ++i) WriteBin(static_cast<int>(bins[i]), out + i * stride);
        if (outcomes != nullptr) std::fill_n(outcomes + from, piece.size(), Encoded);
        encoded += static_cast<int>(piece.size());
    }
    return encoded;
}

double MCBinningEncoder::MiddleOf(int bin) const
{
    const auto place = static_cast<std::size_t>(bin);
    const bool first = place == 0, last = place == fvCuts.size();
    double low = first ? fdLowest : fvCuts[place - 1];
    double high = last ? fdHighest : fvCuts[place];
    // An open end bin may reach less far than the cut when nothing was learned in it, or nothing at all.
    if (MCMV::IsMissing(low) || low > high) low = high;
    if (MCMV::IsMissing(high) || high < low) high = low;
    if (MCMV::IsMissing(low)) return 0.0; // one bin of all numbers
    for (const double inside : {0.5 * low + 0.5 * high, high, low})
        if (FindBin(inside) == bin) return inside;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return std::nextafter(first ? high : low, first ? -infinity : infinity);
}

bool MCBinningEncoder::DecodeRow(const double* columns, Value& value) const
{
    const int bins = GetNBins() + (GetMissingRule() == MissingOwnCategory ? 1 : 0);
    int bin = -1;
    if (MCMV::IsMissing(columns[0])) {
        bin = GetNBins();
    } else if (fOutput == OutputIndex) {
        if (!(columns[0] >= 0.0 && columns[0] < bins) || std::floor(columns[0]) != columns[0]) return false;
        bin = static_cast<int>(columns[0]);
    } else {
        for (int j = 0; j < bins; ++j) {
            if (columns[j] == 0.0) continue;
            if (columns[j] != 1.0 || bin >= 0) return false;
            bin = j;
        }
    }
    if (bin < 0) return false;
    value = bin == GetNBins() ? Value() : Value(MiddleOf(bin));
    return true;
}

std::string MCBinningEncoder::GetBinText(int bin) const
{
    if (bin < 0 || bin >= GetNBins()) return {};
    const auto place = static_cast<std::size_t>(bin);
    const bool first = bin == 0, last = place == fvCuts.size();
    const bool closedLow = first && fbEndsClosed, closedHigh = last && fbEndsClosed;
    std::string text = closedLow || (!first && fClosed == ClosedLower) ? "[" : "(";
    text += closedLow ? Value(fdLowest).GetString() : first ? "-inf" : Value(fvCuts[place - 1]).GetString();
    text += ", ";
    text += closedHigh ? Value(fdHighest).GetString() : last ? "inf" : Value(fvCuts[place]).GetString();
    return text + (closedHigh || (!last && fClosed == ClosedUpper) ? "]" : ")");
}

std::string MCBinningEncoder::GetColumnName(int column) const
{
    if (column < 0 || column >= GetNColumns()) return {};
    if (fOutput == OutputIndex) return GetField();
    return GetField() + "=" + (column < GetNBins() ? GetBinText(column) : "(missing)");
}

std::unique_ptr<IMCEncoder> MCBinningEncoder::Clone() const
{
    return std::make_unique<MCBinningEncoder>(*this);
}

// State

void MCBinningEncoder::SaveSettings(Value& map) const
{
    MCEncoderBase::SaveSettings(map);
    map["method"] = internal::WordOf(fMethod, kMethods);
    map["count"] = fnCount;
    map["cutAtMean"] = fbCutAtMean;
    map["givenCuts"] = StateTree::FromReals(fvGivenCuts);
    map["closed"] = internal::WordOf(fClosed, kCloseds);
    map["endsClosed"] = fbEndsClosed;
    map["lowLimit"] = StateTree::FromReal(fdLowLimit);
    map["highLimit"] = StateTree::FromReal(fdHighLimit);
    map["outlierRule"] = internal::WordOf(fOutlierRule, internal::kOutlierRules);
    map["output"] = internal::WordOf(fOutput, kOutputs);
    map["sketchLimit"] = fnSketchLimit;
}

bool MCBinningEncoder::LoadSettings(const Value& map)
{
    StateFields fields(map);
    fields.ReadWord("method", fMethod, kMethods);
    fields.Read("count", fnCount, 0, kMostBins);
    fields.Read("cutAtMean", fbCutAtMean);
    fields.Read("givenCuts", fvGivenCuts);
    fields.ReadWord("closed", fClosed, kCloseds);
    fields.Read("endsClosed", fbEndsClosed);
    fields.Read("lowLimit", fdLowLimit);
    fields.Read("highLimit", fdHighLimit);
    fields.ReadWord("outlierRule", fOutlierRule, internal::kOutlierRules);
    fields.ReadWord("output", fOutput, kOutputs);
    fields.Read("sketchLimit", fnSketchLimit, MCQuantileSketch::kMinLimit, MCQuantileSketch::kMaxLimit);
    fields.Require(fnCount >= 1 || fMethod == MethodMDLP);
    fields.Require(fMethod != MethodDeviations || fnCount <= kMostDeviations);
    fields.Require(AreAscending(fvGivenCuts) && internal::AreLimitsLegal(fdLowLimit, fdHighLimit));
    return MCEncoderBase::LoadSettings(map) && fields.Ok();
}

void MCBinningEncoder::SaveLearned(Value& map) const
{
    MCEncoderBase::SaveLearned(map);
    if (IsFinished()) {
        map["cuts"] = StateTree::FromReals(fvCuts);
        map["binWeights"] = StateTree::FromReals(fvWeights);
        map["lowest"] = StateTree::FromReal(fdLowest);
        map["highest"] = StateTree::FromReal(fdHighest);
        map["replacement"] = StateTree::FromReal(fdReplacement);
        map["rankError"] = StateTree::FromReal(fdRankError);
        return;
    }
    internal::CategoryIndex classes(fClasses);
    std::vector<int> order = classes.Sort();
    if (!NeedsTarget() && !fvValues.empty()) order = {0};
    map["classes"] = StateTree::FromScalars(classes.GetValues());
    Value& list = map["values"];
    list.Resize(0);
    for (const int place : order) {
        const MCQuantileSketch& values = fvValues[static_cast<std::size_t>(place)];
        Value& item = list[list.Size()];
        item["fractionBits"] = values.GetFractionBits();
        std::vector<double> numbers;
        for (const MCQuantileSketch::Bucket& bucket : values.GetBuckets())
            numbers.insert(numbers.end(), {bucket.min, bucket.max, bucket.weight, bucket.minWeight, bucket.maxWeight});
        item["buckets"] = StateTree::FromReals(numbers);
    }
    const std::array<double, 6> stats = fStats.GetState();
    map["stats"] = StateTree::FromReals({stats.begin(), stats.end()});
}

bool MCBinningEncoder::LoadLearned(const Value& map)
{
    if (!MCEncoderBase::LoadLearned(map)) return false;
    StateFields fields(map);
    if (IsFinished()) {
        fields.Read("cuts", fvCuts);
        fields.Read("binWeights", fvWeights);
        fields.Read("lowest", fdLowest);
        fields.Read("highest", fdHighest);
        fields.Read("replacement", fdReplacement);
        fields.Read("rankError", fdRankError);
        const int bins = GetNBins() + (GetMissingRule() == MissingOwnCategory ? 1 : 0);
        return fields.Require(AreAscending(fvCuts) && fvWeights.size() == fvCuts.size() + 1 &&
                              internal::AreLimitsLegal(fdLowest, fdHighest) && !std::isnan(fdReplacement) &&
                              GetNColumns() == (fOutput == OutputIndex ? 1 : bins));
    }
    std::vector<Value> classes;
    std::vector<double> stats;
    std::array<double, 6> state{};
    fields.ReadScalars("classes", classes);
    for (const Value& each : classes) {
        const int before = fClasses.Size();
        fields.Require(fClasses.Insert(each) == before);
    }
    const Value& list = fields.Get("values");
    fields.Require(list.GetType() == Value::TypeArray);
    for (int i = 0; i < list.Size() && fields.Ok(); ++i) {
        StateFields item(list[i]);
        int fractionBits = 0;
        std::vector<double> numbers;
        item.Read("fractionBits", fractionBits, -11, 52);
        item.Read("buckets", numbers);
        std::vector<MCQuantileSketch::Bucket> buckets;
        for (std::size_t k = 0; k + 4 < numbers.size(); k += 5)
            buckets.push_back({numbers[k], numbers[k + 1], numbers[k + 2], numbers[k + 3], numbers[k + 4]});
        fields.Require(item.Ok() && numbers.size() == 5 * buckets.size() &&
                       fvValues.emplace_back(fnSketchLimit).Restore(fnSketchLimit, fractionBits, buckets));
    }
    fields.Read("stats", stats);
    if (!fields.Require(stats.size() == state.size() &&
                        (NeedsTarget() ? fvValues.size() == classes.size() : fvValues.size() <= 1 && classes.empty())))
        return false;
    std::copy(stats.begin(), stats.end(), state.begin());
    fStats.SetState(state);
    return true;
}

bool MCBinningEncoder::Replace(const Value& tree)
{
    return ReplaceBy(*this, tree);
}

void MCBinningEncoder::DisplayLearned() const
{
    if (!IsFinished()) {
        AllValues().Display();
        return;
    }
    MCDisplay_930::Display("Rank error", fdRankError);
    constexpr int most = 50;
    for (int bin = 0; bin < std::min(GetNBins(), most); ++bin)
        MCDisplay_930::Display("Bin " + std::to_string(bin) + ", " + GetBinText(bin),
                               fvWeights[static_cast<std::size_t>(bin)]);
    if (GetNBins() > most) MCDisplay_930::Display("Bins in all", GetNBins());
}

} // namespace MCXML_930
