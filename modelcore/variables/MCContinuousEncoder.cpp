#include "modelcore/variables/MCContinuousEncoder.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/variables/internal/CategoryIndex.h"
#include "modelcore/variables/internal/Outliers.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace MCXML_930 {

using internal::StateFields;
using internal::StateTree;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

constexpr std::initializer_list<const char*> kScalings{"none", "z-score", "0 to 1", "-1 to 1"};

} // namespace

MCContinuousEncoder::MCContinuousEncoder(std::string field) : MCEncoderBase(std::move(field)) {}

bool MCContinuousEncoder::SetScaling(Scaling scaling)
{
    if (!IsFresh() || scaling < ScaleNone || scaling > ScaleSymmetric) return false;
    fScaling = scaling;
    return true;
}

bool MCContinuousEncoder::SetLimits(double lowest, double highest, OutlierRule rule)
{
    if (!IsFresh() || !internal::IsRule(rule) || !internal::AreLimitsLegal(lowest, highest)) return false;
    fdLowest = lowest;
    fdHighest = highest;
    fbLimitsLearned = false;
    fOutlierRule = rule;
    return true;
}

bool MCContinuousEncoder::SetLimitsLearned(OutlierRule rule)
{
    if (!IsFresh() || !internal::IsRule(rule)) return false;
    fdLowest = fdHighest = MCMV::Missing();
    fbLimitsLearned = true;
    fOutlierRule = rule;
    return true;
}

bool MCContinuousEncoder::IsOutlier(double x) const
{
    return fOutlierRule != OutlierStays && internal::IsBeyond(x, fdLowest, fdHighest);
}

MCEncoderBase::Learned MCContinuousEncoder::LearnValid(const Value& value, const Value*, double weight)
{
    double x = 0.0;
    if (!internal::ToNumber(value, x)) return Learned::Refused;
    if (IsOutlier(x)) {
        if (fOutlierRule == OutlierRefused) return Learned::Refused;
        if (fOutlierRule == OutlierAsMissing) return Learned::Missing;
        x = internal::IsBeyond(x, fdLowest, MCMV::Missing()) ? fdLowest : fdHighest;
    }
    if (!std::isfinite(x)) return Learned::Refused;
    fStats.Update(x, weight, 1.0);
    return Learned::Valid;
}

void MCContinuousEncoder::MergeLearned(const MCEncoderBase& other)
{
    fStats.Pool(static_cast<const MCContinuousEncoder&>(other).fStats);
}

void MCContinuousEncoder::ForgetLearned() noexcept
{
    fStats = {};
}

MCStatus MCContinuousEncoder::FinishLearned(int& columns)
{
    const auto [lowest, highest] = fStats.GetExtrema();
    const bool known = !MCMV::IsMissing(lowest);
    double center = fScaling == ScaleNone ? 0.0 : MCMV::Missing(), divisor = fScaling == ScaleNone ? 1.0 : center;
    if (known && fScaling == ScaleZScore) {
        center = fStats.GetMean();
        const double variance = fStats.GetVariance();
        divisor = lowest == highest ? 1.0 : MCMV::IsMissing(variance) ? 0.0 : std::sqrt(variance);
    } else if (known && fScaling != ScaleNone) {
        center = lowest;
        divisor = lowest == highest ? 1.0 : highest - lowest;
    }
    double replacement = fStats.GetMean();
    if (!GetMissingReplacement().IsNull() && !internal::ToNumber(GetMissingReplacement(), replacement))
        return {FinishUnknownReplacement, false};
    const bool replaces = GetMissingRule() == MissingReplaced || GetMissingRule() == MissingOwnCategory;
    if (!std::isfinite(replacement) && !replaces) replacement = MCMV::Missing();
    if (!std::isfinite(center) || !std::isfinite(divisor) || !std::isfinite(replacement) || divisor == 0.0)
        return {FinishNotFinite, false};
    fdCenter = center;
    fdDivisor = divisor;
    fdReplacement = replacement;
    if (fbLimitsLearned) {
        fdLowest = lowest;
        fdHighest = highest;
    }
    columns = GetMissingRule() == MissingOwnCategory ? 2 : 1;
    if (!known) return {FinishNoValues, true};
    return lowest == highest ? MCStatus(FinishConstant, true) : MCStatus();
}

double MCContinuousEncoder::Scale(double x) const
{
    switch (fScaling) {
    case ScaleNone: return x;
    case ScaleSymmetric: return (x - fdCenter) / fdDivisor * 2.0 - 1.0;
    default: return (x - fdCenter) / fdDivisor;
    }
}

IMCEncoder::Outcome MCContinuousEncoder::EncodeMissingAs(Outcome outcome, double* columns) const
{
    if (GetMissingRule() == MissingStays) {
        FillMissing(columns);
        return outcome;
    }
    if (GetMissingRule() == MissingRefused || MCMV::IsMissing(fdReplacement) || MCMV::IsMissing(fdCenter))
        return Refused;
    columns[0] = Scale(fdReplacement);
    if (GetMissingRule() == MissingOwnCategory) columns[1] = 1.0;
    return outcome;
}

IMCEncoder::Outcome MCContinuousEncoder::EncodeNumber(double x, double* columns) const
{
    if (internal::IsUnknown(x)) return EncodeMissingAs(EncodedMissing, columns);
    Outcome outcome = Encoded;
    if (IsOutlier(x)) {
        if (fOutlierRule == OutlierRefused) return Refused;
        if (fOutlierRule == OutlierAsMissing) return EncodeMissingAs(EncodedOutlier, columns);
        x = internal::IsBeyond(x, fdLowest, MCMV::Missing()) ? fdLowest : fdHighest;
        outcome = EncodedOutlier;
    }
    if (MCMV::IsMissing(fdCenter)) return Refused; // nothing was learned to scale by
    columns[0] = Scale(x);
    if (GetMissingRule() == MissingOwnCategory) columns[1] = 0.0;
    return outcome;
}

IMCEncoder::Outcome MCContinuousEncoder::EncodeOne(const Value& value, double* columns) const
{
    double x = 0.0;
    return internal::ToNumber(value, x) ? EncodeNumber(x, columns) : Refused;
}

// Pieces without anything special are scaled in a loop that the compiler turns into vector instructions.
int MCContinuousEncoder::EncodeRows(std::span<const double> x, double* rows, std::size_t stride,
                                    Outcome* outcomes) const
{
    constexpr std::size_t kPiece = 512;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const bool limited = fOutlierRule != OutlierStays;
    const bool simple = stride == 1 && !MCMV::IsMissing(fdCenter);
    // The missing value is the lowest double, below any open end.
    const double unlimited = std::nextafter(MCMV::Missing(), 0.0);
    const double lowest = limited ? std::max(fdLowest, unlimited) : unlimited;
    const double highest = limited && !MCMV::IsMissing(fdHighest) ? fdHighest : infinity;
    int encoded = 0;
    for (std::size_t from = 0; from < x.size(); from += kPiece) {
        const std::span<const double> piece = x.subspan(from, std::min(kPiece, x.size() - from));
        double* const out = rows + from * stride;
        bool plain = simple;
        if (simple) {
            std::size_t special = 0;
            for (const double value : piece)
                special += ((value >= lowest) & (value <= highest)) ? std::size_t{0} : std::size_t{1};
            plain = special == 0;
        }
        if (plain) {
            switch (fScaling) {
            case ScaleNone: std::copy(piece.begin(), piece.end(), out); break;
            case ScaleSymmetric:
                for (std::size_t i = 0; i < piece.size(); ++i) out[i] = (piece[i] - fdCenter) / fdDivisor * 2.0 - 1.0;
                break;
            default:
                for (std::size_t i = 0; i < piece.size(); ++i) out[i] = (piece[i] - fdCenter) / fdDivisor;
            }
            if (outcomes != nullptr) std::fill_n(outcomes + from, piece.size(), Encoded);
            encoded += static_cast<int>(piece.size());
        } else {
            for (std::size_t i = 0; i < piece.size(); ++i)
                encoded += Settle(EncodeNumber(piece[i], out + i * stride), out + i * stride, from + i, outcomes);
        }
    }
    return encoded;
}

bool MCContinuousEncoder::DecodeRow(const double* columns, Value& value) const
{
    const double z = columns[0];
    if (MCMV::IsMissing(z) || (GetMissingRule() == MissingOwnCategory && columns[1] == 1.0)) {
        value = Value();
        return true;
    }
    if (std::isnan(z) || MCMV::IsMissing(fdCenter)) return false;
    switch (fScaling) {
    case ScaleNone: value = z; break;
    case ScaleSymmetric: value = (z + 1.0) / 2.0 * fdDivisor + fdCenter; break;
    default: value = z * fdDivisor + fdCenter;
    }
    return true;
}

std::string MCContinuousEncoder::GetColumnName(int column) const
{
    if (column < 0 || column >= GetNColumns()) return {};
    return column == 0 ? GetField() : GetField() + "=(missing)";
}

std::unique_ptr<IMCEncoder> MCContinuousEncoder::Clone() const
{
    return std::make_unique<MCContinuousEncoder>(*this);
}

void MCContinuousEncoder::SaveSettings(Value& map) const
{
    MCEncoderBase::SaveSettings(map);
    map["scaling"] = internal::WordOf(fScaling, kScalings);
    map["outlierRule"] = internal::WordOf(fOutlierRule, internal::kOutlierRules);
    map["limitsLearned"] = fbLimitsLearned;
    if (fbLimitsLearned) return;
    map["lowest"] = StateTree::FromReal(fdLowest);
    map["highest"] = StateTree::FromReal(fdHighest);
}

bool MCContinuousEncoder::LoadSettings(const Value& map)
{
    StateFields fields(map);
    double lowest = MCMV::Missing(), highest = lowest;
    fields.ReadWord("scaling", fScaling, kScalings);
    fields.ReadWord("outlierRule", fOutlierRule, internal::kOutlierRules);
    fields.Read("limitsLearned", fbLimitsLearned);
    if (!fbLimitsLearned && fields.Read("lowest", lowest) && fields.Read("highest", highest))
        fields.Require(SetLimits(lowest, highest, fOutlierRule));
    return MCEncoderBase::LoadSettings(map) && fields.Ok();
}

void MCContinuousEncoder::SaveLearned(Value& map) const
{
    MCEncoderBase::SaveLearned(map);
    const std::array<double, 6> stats = fStats.GetState();
    map["stats"] = StateTree::FromReals({stats.begin(), stats.end()});
    if (!IsFinished()) return;
    map["center"] = StateTree::FromReal(fdCenter);
    map["divisor"] = StateTree::FromReal(fdDivisor);
    map["replacement"] = StateTree::FromReal(fdReplacement);
    if (!fbLimitsLearned) return;
    map["lowest"] = StateTree::FromReal(fdLowest);
    map["highest"] = StateTree::FromReal(fdHighest);
}

bool MCContinuousEncoder::LoadLearned(const Value& map)
{
    if (!MCEncoderBase::LoadLearned(map)) return false;
    StateFields fields(map);
    std::vector<double> stats;
    std::array<double, 6> state{};
    if (!fields.Read("stats", stats) || stats.size() != state.size()) return false;
    std::copy(stats.begin(), stats.end(), state.begin());
    fStats.SetState(state);
    if (!IsFinished()) return true;
    fields.Read("center", fdCenter);
    fields.Read("divisor", fdDivisor);
    fields.Read("replacement", fdReplacement);
    if (fbLimitsLearned) {
        fields.Read("lowest", fdLowest);
        fields.Read("highest", fdHighest);
    }
    return fields.Require(GetNColumns() == (GetMissingRule() == MissingOwnCategory ? 2 : 1) &&
                          internal::AreLimitsLegal(fdLowest, fdHighest) && fdDivisor != 0.0 &&
                          std::isfinite(fdCenter) && std::isfinite(fdDivisor) && std::isfinite(fdReplacement));
}

bool MCContinuousEncoder::Replace(const Value& tree)
{
    return ReplaceBy(*this, tree);
}

void MCContinuousEncoder::DisplayLearned() const
{
    MCDisplay_930::Display("Center", fdCenter);
    MCDisplay_930::Display("Divisor", fdDivisor);
    MCDisplay_930::Display("Replacement of missing values", fdReplacement);
    fStats.Display();
}

} // namespace MCXML_930
