// Encoder that rounds numbers.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCEncoderBase.h"

#include <memory>
#include <string>

namespace MCXML_930 {

/// Rounds a number to a multiple of a unit or to decimal digits. With r the rounding to a whole number:
///
///     unit u        a = x / u,      r(a) * u
///     digits d      a = x * 10^d,   r(a) / 10^d    (d >= 0)
///                   a = x / 10^-d,  r(a) * 10^-d   (d < 0)
///
/// in these operations; where |a| >= 2^52, so that a has no fraction, and where the nearest whole number in place of r(a)
/// gives x back, the result is x itself: 0.07 is 0.07 rounded up to two digits, although its product with 100 is above 7.
/// RoundHalfEven goes to the nearest whole number and from halves to the even one, RoundUp to the next above, RoundDown
/// to the next below. A result of zero is +0.0. Dividing by a power of ten gives the double nearest to the decimal number, which multiplying
/// by 0.1 would not; whether a number such as 2.675, whose double lies below it, counts as a half is decided by the
/// rounded product.
///
/// Learns nothing but the counts of cases. Columns: the number, named as the field; under MissingOwnCategory a second
/// one, "field=(missing)". MissingReplaced and MissingOwnCategory need a replacement, which is rounded like any number.
/// Decode returns the rounded number.
class MODELCORE_EXPORT MCRoundingEncoder : public MCEncoderBase {
public:
    /// Where a number between two multiples goes.
    enum Direction : std::int32_t { RoundHalfEven, RoundUp, RoundDown };

    /// Rounds the field to whole numbers.
    explicit MCRoundingEncoder(std::string field = {});

    /// Copies are deep. An assignment that runs out of memory leaves the encoder as it was.
    MCRoundingEncoder(const MCRoundingEncoder& other) = default;
    MCRoundingEncoder& operator=(const MCRoundingEncoder& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCRoundingEncoder(MCRoundingEncoder&& other) noexcept = default;
    MCRoundingEncoder& operator=(MCRoundingEncoder&& other) noexcept = default;
    ~MCRoundingEncoder() override = default;

    /// Rounds to multiples of a unit, which is finite and above 0; 1 at first.
    bool SetUnit(double unit);
    /// Rounds to so many digits after the point, before it when negative; -15 to 15.
    bool SetDigits(int digits);
    /// RoundHalfEven at first.
    bool SetDirection(Direction direction);
    Direction GetDirection() const { return fDirection; }
    /// Whether SetDigits was the last to say what is rounded to.
    bool IsByDigits() const { return fbByDigits; }
    int GetDigits() const { return fnDigits; }
    /// The unit, and what the formula divides or multiplies by first: the unit or the power of ten.
    double GetUnit() const { return fdUnit; }
    /// What the formula divides or multiplies by first: the unit or the power of ten.
    double GetFactor() const { return fdFactor; }
    /// Whether the formula is x * factor, rounded, / factor; else x / factor, rounded, * factor.
    bool IsFactorMultiplied() const { return fbByDigits && fnDigits >= 0; }

    /// The number rounded; a NaN or missing one as it is.
    double Round(double x) const;

    std::string GetColumnName(int column) const override;
    std::unique_ptr<IMCEncoder> Clone() const override;

protected:
    const char* ClassName() const override { return "MCRoundingEncoder"; }
    Learned LearnValid(const MCCommon_930::Value& value, const MCCommon_930::Value* target, double weight) override;
    void MergeLearned(const MCEncoderBase&) override {}
    MCCommon_930::MCStatus FinishLearned(int& columns) override;
    Outcome EncodeOne(const MCCommon_930::Value& value, double* columns) const override;
    bool DecodeRow(const double* columns, MCCommon_930::Value& value) const override;
    int EncodeRows(std::span<const double> x, double* rows, std::size_t stride, Outcome* outcomes) const override;
    void SaveSettings(MCCommon_930::Value& map) const override;
    bool LoadSettings(const MCCommon_930::Value& map) override;
    bool LoadLearned(const MCCommon_930::Value& map) override;
    bool Replace(const MCCommon_930::Value& tree) override;
    void DisplayLearned() const override {}
    void ForgetLearned() noexcept override {}

private:
    friend class MCEncoderBase;
    Outcome EncodeNumber(double x, double* columns) const;
    template <class Whole>
    double RoundWith(double x, Whole whole) const;

    bool fbByDigits = false;
    int fnDigits = 0;
    double fdUnit = 1.0;
    double fdFactor = 1.0;
    Direction fDirection = RoundHalfEven;
};

} // namespace MCXML_930
