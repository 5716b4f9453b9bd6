// Encoder of continuous fields.
#pragma once

#include "modelcore/accumulators/MCContStats.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCEncoderBase.h"

#include <memory>
#include <string>

namespace MCXML_930 {

/// Scales a number by what was learned of its field. With c the center and d the divisor:
///
///     ScaleNone                                          x
///     ScaleZScore       c mean, d standard deviation     (x - c) / d
///     ScaleUnit         c minimum, d maximum - minimum   (x - c) / d
///     ScaleSymmetric    the same                         (x - c) / d * 2 - 1
///
/// in these operations and this order, each rounded once. The variance has the sum of weights less 1 as divisor
/// (MCContStats). A constant field has d = 1: it is only shifted. Columns: the scaled number, named as the field; under
/// MissingOwnCategory a second one, "field=(missing)", 1 for a missing value and else 0.
///
/// Infinities are encoded by the formula but not learned from. A missing value is replaced before scaling, at first by
/// the mean. Decode inverts the formula up to its rounding.
class MODELCORE_EXPORT MCContinuousEncoder : public MCEncoderBase {
public:
    /// The formulas of the table above.
    enum Scaling : std::int32_t { ScaleNone, ScaleZScore, ScaleUnit, ScaleSymmetric };

    /// An encoder of the field without limits.
    explicit MCContinuousEncoder(std::string field = {});

    /// Copies are deep. An assignment that runs out of memory leaves the encoder as it was.
    MCContinuousEncoder(const MCContinuousEncoder& other) = default;
    MCContinuousEncoder& operator=(const MCContinuousEncoder& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCContinuousEncoder(MCContinuousEncoder&& other) noexcept = default;
    MCContinuousEncoder& operator=(MCContinuousEncoder&& other) noexcept = default;
    ~MCContinuousEncoder() override = default;

    /// The formula.
    bool SetScaling(Scaling scaling);
    Scaling GetScaling() const { return fScaling; }

    /// Numbers outside [lowest, highest] are outliers, in learning (where what is clipped is learned as the limit) as in
    /// encoding. System-missing leaves an end open.
    bool SetLimits(double lowest, double highest, OutlierRule rule = OutlierClipped);
    /// The extremes of what is learned become the limits, known after Finish.
    bool SetLimitsLearned(OutlierRule rule = OutlierClipped);
    /// The lower limit; system-missing for an open end.
    double GetLowest() const { return fdLowest; }
    /// The upper limit; system-missing for an open end.
    double GetHighest() const { return fdHighest; }
    bool AreLimitsLearned() const { return fbLimitsLearned; }
    /// What becomes of a number beyond the limits.
    OutlierRule GetOutlierRule() const { return fOutlierRule; }

    /// What was learned: of the numbers that were not missing, after the rule for outliers.
    const MCMath_930::MCContStats& GetStats() const { return fStats; }
    /// c and d of the formula, and the number that replaces a missing one; system-missing when there is none. Of a
    /// finished encoder.
    double GetCenter() const { return fdCenter; }
    /// d of the formula, of a finished encoder.
    double GetDivisor() const { return fdDivisor; }
    /// The number that replaces a missing one, of a finished encoder; system-missing when there is none.
    double GetReplacement() const { return fdReplacement; }

    std::string GetColumnName(int column) const override;
    std::unique_ptr<IMCEncoder> Clone() const override;

protected:
    const char* ClassName() const override { return "MCContinuousEncoder"; }
    Learned LearnValid(const MCCommon_930::Value& value, const MCCommon_930::Value* target, double weight) override;
    void MergeLearned(const MCEncoderBase& other) override;
    MCCommon_930::MCStatus FinishLearned(int& columns) override;
    Outcome EncodeOne(const MCCommon_930::Value& value, double* columns) const override;
    bool DecodeRow(const double* columns, MCCommon_930::Value& value) const override;
    int EncodeRows(std::span<const double> x, double* rows, std::size_t stride, Outcome* outcomes) const override;
    void SaveSettings(MCCommon_930::Value& map) const override;
    bool LoadSettings(const MCCommon_930::Value& map) override;
    void SaveLearned(MCCommon_930::Value& map) const override;
    bool LoadLearned(const MCCommon_930::Value& map) override;
    bool Replace(const MCCommon_930::Value& tree) override;
    void DisplayLearned() const override;
    void ForgetLearned() noexcept override;

private:
    friend class MCEncoderBase;
    double Scale(double x) const;
    Outcome EncodeNumber(double x, double* columns) const;
    Outcome EncodeMissingAs(Outcome outcome, double* columns) const;
    bool IsOutlier(double x) const;

    Scaling fScaling = ScaleNone;
    double fdLowest = MCCommon_930::MCMV::gMissingValue;
    double fdHighest = MCCommon_930::MCMV::gMissingValue;
    bool fbLimitsLearned = false;
    OutlierRule fOutlierRule = OutlierStays;
    MCMath_930::MCContStats fStats;
    double fdCenter = MCCommon_930::MCMV::gMissingValue;
    double fdDivisor = MCCommon_930::MCMV::gMissingValue;
    double fdReplacement = MCCommon_930::MCMV::gMissingValue;
};

} // namespace MCXML_930
