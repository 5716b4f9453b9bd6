// Encoder of categorical fields: one number for each category.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCCategoryEncoder.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace MCXML_930 {

/// Gives each level of a categorical field one number:
///
/// * MethodRank: its place in the order of levels, from 1.
/// * MethodScores: a given score.
/// * MethodTargetMean: the mean of a numeric target in the level, shrunk to the mean of all cases (Micci-Barreca 2001,
///   SIGKDD Explorations 3(1), with n/(n + s) as its weighting function):
///
///       (sum + s * mean of all) / (n + s)
///
///   with n the level's weight, sum its weighted sum of the target, and s the smoothing weight. The cases of the given
///   list's unseen categories count in no level unless they join the others. A model that is fitted to the cases which
///   the means were learned from sees their own targets in them: learn on other cases, or merge the parts of the data
///   but one for each part.
///
/// One column, named as the field. The missing under MissingOwnCategory is a level with its own number; MissingReplaced
/// takes the number of the given category or, for target means, the mean of all, else that of the most frequent level.
/// UnseenAsBaseline is the mean of all for target means, else the reference's number. Decode finds the level whose
/// number it is, to the bit, where no other has the same.
class MODELCORE_EXPORT MCCategoricalNumericEncoder : public MCCategoryEncoder {
public:
    /// What a level's number is.
    enum Method : std::int32_t { MethodRank, MethodScores, MethodTargetMean };

    /// MethodRank for the field.
    explicit MCCategoricalNumericEncoder(std::string field = {});

    /// Copies are deep. An assignment that runs out of memory leaves the encoder as it was.
    MCCategoricalNumericEncoder(const MCCategoricalNumericEncoder& other) = default;
    MCCategoricalNumericEncoder& operator=(const MCCategoricalNumericEncoder& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCCategoricalNumericEncoder(MCCategoricalNumericEncoder&& other) noexcept = default;
    MCCategoricalNumericEncoder& operator=(MCCategoricalNumericEncoder&& other) noexcept = default;
    ~MCCategoricalNumericEncoder() override = default;

    /// MethodRank, which is what there is at first, or MethodTargetMean.
    bool SetMethod(Method method);
    Method GetMethod() const { return fMethod; }

    /// MethodScores: the categories, in the order of the list, and their finite scores. A null value gives the score of
    /// the missing, the name of the others (SetOtherName before) theirs.
    bool SetScores(const std::vector<std::pair<MCCommon_930::Value, double>>& scores);

    /// The smoothing weight of MethodTargetMean, finite and not below 0; 0, no shrinking, at first.
    bool SetSmoothing(double weight);
    double GetSmoothing() const { return fdSmoothing; }

    /// The number of each level of a finished encoder.
    const std::vector<double>& GetCodes() const { return fvCodes; }
    /// The mean of the target over all cases; system-missing for the other methods and without cases.
    double GetOverallMean() const { return fdOverall; }

    bool NeedsTarget() const override { return fMethod == MethodTargetMean; }
    std::string GetColumnName(int column) const override;
    std::unique_ptr<IMCEncoder> Clone() const override;

protected:
    const char* ClassName() const override { return "MCCategoricalNumericEncoder"; }
    MCCommon_930::MCStatus FinishLevels(int& columns) override;
    void WriteLevel(int level, double* columns) const override;
    bool HasOwnBaseline() const override;
    int FindRow(const double* columns) const override;
    void SaveSettings(MCCommon_930::Value& map) const override;
    bool LoadSettings(const MCCommon_930::Value& map) override;
    void SaveLearned(MCCommon_930::Value& map) const override;
    bool LoadLearned(const MCCommon_930::Value& map) override;
    bool Replace(const MCCommon_930::Value& tree) override;
    void DisplayLearned() const override;

private:
    friend class MCEncoderBase;

    Method fMethod = MethodRank;
    std::vector<MCCommon_930::Value> fvScored;
    std::vector<double> fvScores;
    double fdSmoothing = 0.0;
    std::vector<double> fvCodes;
    double fdOverall = MCCommon_930::MCMV::gMissingValue;
};

} // namespace MCXML_930
