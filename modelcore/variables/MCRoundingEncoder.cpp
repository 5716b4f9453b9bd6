#include "modelcore/variables/MCRoundingEncoder.h"

#include "modelcore/variables/internal/CategoryIndex.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MCXML_930 {

using internal::StateFields;
using internal::StateTree;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

constexpr std::initializer_list<const char*> kDirections{"half-even", "up", "down"};
constexpr double kWhole = 0x1p52; // doubles from here on have no fraction
constexpr int kMostDigits = 15;

/// To the nearest whole number, halves to even, for |a| < 2^52: the sum has no bits left for a fraction. Vector
/// instructions of every processor do this; a call of the C library's function would be made for each number.
double ToNearest(double a)
{
    const double shift = std::copysign(kWhole, a);
    return (a + shift) - shift;
}

struct ToEven {
    double operator()(double, double nearest) const { return nearest; }
};
struct ToAbove {
    double operator()(double a, double nearest) const { return nearest < a ? nearest + 1.0 : nearest; }
};
struct ToBelow {
    double operator()(double a, double nearest) const { return nearest > a ? nearest - 1.0 : nearest; }
};

} // namespace

MCRoundingEncoder::MCRoundingEncoder(std::string field) : MCEncoderBase(std::move(field)) {}

bool MCRoundingEncoder::SetUnit(double unit)
{
    if (!IsFresh() || !(unit > 0.0) || !std::isfinite(unit)) return false;
    fbByDigits = false;
    fnDigits = 0;
    fdUnit = fdFactor = unit;
    return true;
}

bool MCRoundingEncoder::SetDigits(int digits)
{
    if (!IsFresh() || digits < -kMostDigits || digits > kMostDigits) return false;
    fbByDigits = true;
    fnDigits = digits;
    fdFactor = 1.0; // powers of ten up to 10^22 are doubles, so every product here is exact
    for (int i = std::abs(digits); i > 0; --i) fdFactor *= 10.0;
    fdUnit = digits > 0 ? 1.0 / fdFactor : fdFactor;
    return true;
}

bool MCRoundingEncoder::SetDirection(Direction direction)
{
    if (!IsFresh() || direction < RoundHalfEven || direction > RoundDown) return false;
    fDirection = direction;
    return true;
}

template <class Whole>
inline double MCRoundingEncoder::RoundWith(double x, Whole whole) const
{
    const bool multiplied = IsFactorMultiplied();
    const double a = multiplied ? x * fdFactor : x / fdFactor;
    const double nearest = ToNearest(a);
    const double back = multiplied ? nearest / fdFactor : nearest * fdFactor;
    const double r = whole(a, nearest);
    const double result = multiplied ? r / fdFactor : r * fdFactor;
    return std::fabs(a) < kWhole && back != x ? result + 0.0 : x + 0.0;
}

double MCRoundingEncoder::Round(double x) const
{
    if (internal::IsUnknown(x)) return x;
    switch (fDirection) {
    case RoundUp: return RoundWith(x, ToAbove());
    case RoundDown: return RoundWith(x, ToBelow());
    default: return RoundWith(x, ToEven());
    }
}

MCEncoderBase::Learned MCRoundingEncoder::LearnValid(const Value& value, const Value*, double)
{
    return value.IsNumericValue() ? Learned::Valid : Learned::Refused;
}

MCStatus MCRoundingEncoder::FinishLearned(int& columns)
{
    const bool replaces = GetMissingRule() == MissingReplaced || GetMissingRule() == MissingOwnCategory;
    if (replaces && !GetMissingReplacement().IsNumericValue()) return {FinishUnknownReplacement, false};
    columns = GetMissingRule() == MissingOwnCategory ? 2 : 1;
    return {};
}

IMCEncoder::Outcome MCRoundingEncoder::EncodeNumber(double x, double* columns) const
{
    const bool missing = internal::IsUnknown(x);
    if (missing && GetMissingRule() == MissingRefused) return Refused;
    if (missing && GetMissingRule() == MissingStays) {
        FillMissing(columns);
        return EncodedMissing;
    }
    if (missing) internal::ToNumber(GetMissingReplacement(), x);
    columns[0] = Round(x);
    if (GetMissingRule() == MissingOwnCategory) columns[1] = missing ? 1.0 : 0.0;
    return missing ? EncodedMissing : Encoded;
}

IMCEncoder::Outcome MCRoundingEncoder::EncodeOne(const Value& value, double* columns) const
{
    double x = 0.0;
    return internal::ToNumber(value, x) ? EncodeNumber(x, columns) : Refused;
}

int MCRoundingEncoder::EncodeRows(std::span<const double> x, double* rows, std::size_t stride, Outcome* outcomes) const
{
    constexpr std::size_t kPiece = 512;
    int encoded = 0;
    for (std::size_t from = 0; from < x.size(); from += kPiece) {
        const std::span<const double> piece = x.subspan(from, std::min(kPiece, x.size() - from));
        double* const out = rows + from * stride;
        std::size_t special = stride == 1 ? 0 : 1;
        for (const double value : piece) special += static_cast<std::size_t>((value != value) | MCMV::IsMissing(value));
        if (special == 0) {
            const auto all = [&](auto whole) {
                for (std::size_t i = 0; i < piece.size(); ++i) out[i] = RoundWith(piece[i], whole);
            };
            switch (fDirection) {
            case RoundUp: all(ToAbove()); break;
            case RoundDown: all(ToBelow()); break;
            default: all(ToEven());
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

bool MCRoundingEncoder::DecodeRow(const double* columns, Value& value) const
{
    if (std::isnan(columns[0])) return false;
    if (MCMV::IsMissing(columns[0]) || (GetMissingRule() == MissingOwnCategory && columns[1] == 1.0))
        value = Value();
    else
        value = columns[0];
    return true;
}

std::string MCRoundingEncoder::GetColumnName(int column) const
{
    if (column < 0 || column >= GetNColumns()) return {};
    return column == 0 ? GetField() : GetField() + "=(missing)";
}

std::unique_ptr<IMCEncoder> MCRoundingEncoder::Clone() const
{
    return std::make_unique<MCRoundingEncoder>(*this);
}

void MCRoundingEncoder::SaveSettings(Value& map) const
{
    MCEncoderBase::SaveSettings(map);
    map["direction"] = internal::WordOf(fDirection, kDirections);
    if (fbByDigits)
        map["digits"] = fnDigits;
    else
        map["unit"] = StateTree::FromReal(fdUnit);
}

bool MCRoundingEncoder::LoadSettings(const Value& map)
{
    StateFields fields(map);
    int digits = 0;
    double unit = 1.0;
    fields.ReadWord("direction", fDirection, kDirections);
    if (fields.Get("digits").IsNull())
        fields.Require(fields.Read("unit", unit) && SetUnit(unit));
    else
        fields.Require(fields.Read("digits", digits, -kMostDigits, kMostDigits) && SetDigits(digits));
    return MCEncoderBase::LoadSettings(map) && fields.Ok();
}

bool MCRoundingEncoder::LoadLearned(const Value& map)
{
    if (!MCEncoderBase::LoadLearned(map)) return false;
    int columns = 0;
    return !IsFinished() || (!FinishLearned(columns).IsError() && columns == GetNColumns());
}

bool MCRoundingEncoder::Replace(const Value& tree)
{
    return ReplaceBy(*this, tree);
}

} // namespace MCXML_930
