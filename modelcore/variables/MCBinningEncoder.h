// Encoder that puts numbers into bins.
#pragma once

#include "modelcore/accumulators/MCContStats.h"
#include "modelcore/accumulators/MCQuantileSketch.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCEncoderBase.h"
#include "modelcore/variables/internal/CategoryIndex.h"

#include <memory>
#include <string>
#include <vector>

namespace MCXML_930 {

/// Cuts the numbers of a field into bins 0, 1, 2, ..., between cuts c(0) < c(1) < ...:
///
/// * MethodGivenCuts: at the given numbers.
/// * MethodEqualWidth: n bins of the width (highest - lowest)/n, from the limits or, without them, the extremes of what
///   was learned; c(j) = lowest + (highest - lowest) * (j + 1)/n.
/// * MethodEqualFrequency: n bins of equal weight: bin j ends with the smallest value by which (j + 1)/n of the weight
///   is reached. A cut is between two values that occurred: with (lo, hi] it is the lower one, with [lo, hi) the upper
///   one, so that both put the learned values into the same bins. Ends are opened first and equal cuts merged then, so that
///   a lowest value that fills several bins keeps one of its own; a cut that nothing lies above goes.
/// * MethodDeviations: at the mean plus and minus 1, ..., k standard deviations (divisor: weight less 1), and at the
///   mean if that is wanted.
/// * MethodMDLP: by a class (Fayyad & Irani 1993, Proc. 13th IJCAI, 1022-1027): a set of cases is cut at the midpoint
///   between neighbouring values that leaves the least entropy of the classes (of several, the lowest), if the gain
///   exceeds (log2(N - 1) + log2(3^k - 2) - k Ent(S) + k1 Ent(S1) + k2 Ent(S2))/N, and each part again. N is the weight.
///   Learn with the class as target. It calls log2 and is the same to the bit on one C runtime.
///
/// Values are kept in an MCQuantileSketch: exactly up to its limit of distinct values. Beyond it cuts are approximate in
/// the error given there, and Finish says so (FinishApproximate). Either way they are those of the set of values,
/// whatever its order. Infinities are not learned from; -0.0 is 0.0.
///
/// A bin is (lo, hi] or [lo, hi). The end bins are open to the infinities at first. With closed ends, what is below the
/// lowest or above the highest edge is an outlier; the edges themselves belong to the end bins.
///
/// Columns: OutputIndex, one with the bin's number, named as the field; OutputIndicator, one for each bin, 1 in the bin
/// and else 0, named "field=(lo, hi]". Under MissingOwnCategory the missing are one more bin, the last. A replacement of
/// missing values is a number, at first the median. Decode returns a number inside the bin: the middle between its edges
/// or, where one is open, the extreme learned there.
class MODELCORE_EXPORT MCBinningEncoder : public MCEncoderBase {
public:
    /// Where the cuts are made.
    enum Method : std::int32_t {
        MethodGivenCuts,
        MethodEqualWidth,
        MethodEqualFrequency,
        MethodDeviations,
        MethodMDLP
    };
    /// Which of a bin's two edges belongs to it: (lo, hi] or [lo, hi).
    enum Closed : std::int32_t { ClosedUpper, ClosedLower };
    /// What a row is: the bin's number, or an indicator for each bin.
    enum Output : std::int32_t { OutputIndex, OutputIndicator };

    /// Equal frequency into 10 bins at first.
    explicit MCBinningEncoder(std::string field = {});

    /// Copies are deep. An assignment that runs out of memory leaves the encoder as it was.
    MCBinningEncoder(const MCBinningEncoder& other) = default;
    MCBinningEncoder& operator=(const MCBinningEncoder& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCBinningEncoder(MCBinningEncoder&& other) noexcept = default;
    MCBinningEncoder& operator=(MCBinningEncoder&& other) noexcept = default;
    ~MCBinningEncoder() override = default;

    /// The cuts, finite and ascending; there may be none, which gives one bin.
    bool SetCuts(const std::vector<double>& cuts);
    /// MethodEqualWidth with so many bins, at least 1 and at most a million.
    bool SetEqualWidth(int bins);
    /// MethodEqualFrequency with so many bins.
    bool SetEqualFrequency(int bins);
    /// MethodDeviations: 1 to 100 deviations to each side, with a cut at the mean or without.
    bool SetDeviations(int count, bool cutAtMean = true);
    /// MethodMDLP, which needs a class as target.
    bool SetMDLP();
    Method GetMethod() const { return fMethod; }
    /// The bins asked for; of MethodDeviations the deviations.
    int GetCount() const { return fnCount; }

    /// ClosedUpper at first.
    bool SetClosed(Closed closed);
    Closed GetClosed() const { return fClosed; }
    /// Closes the ends at these limits, of which a missing one is the extreme of what is learned, with a rule for
    /// outliers: clipped ones fall into the nearer end bin, those that stay too. Numbers beyond the limits are not
    /// learned from; as missing, they count as such. Given cuts must lie within the limits.
    bool SetEndsClosed(double lowest, double highest, OutlierRule rule = OutlierAsMissing);
    bool AreEndsClosed() const { return fbEndsClosed; }
    /// What becomes of a number beyond closed ends.
    OutlierRule GetOutlierRule() const { return fOutlierRule; }
    /// OutputIndex at first.
    bool SetOutput(Output output);
    Output GetOutput() const { return fOutput; }
    /// The limit of distinct values that are kept exactly; see MCQuantileSketch.
    bool SetSketchLimit(int limit);
    int GetSketchLimit() const { return fnSketchLimit; }

    /// Of a finished encoder.
    int GetNBins() const { return static_cast<int>(fvWeights.size()); }
    /// The inner cuts, one less than there are bins.
    const std::vector<double>& GetCuts() const { return fvCuts; }
    /// The outer edges: the limits of closed ends, else the extremes of what was learned (missing when that is nothing).
    double GetLowest() const { return fdLowest; }
    /// The outer edge above; see GetLowest.
    double GetHighest() const { return fdHighest; }
    /// The weight learned in each bin, approximate when the cuts are.
    const std::vector<double>& GetBinWeights() const { return fvWeights; }
    /// "(-inf, 2]", "(2, 3.5]", ...; empty when there is no such bin.
    std::string GetBinText(int bin) const;
    /// The largest error in rank that a cut can have, a share of the weight; 0 when they are exact.
    double GetRankError() const { return fdRankError; }
    /// The number that replaces a missing one; system-missing when there is none.
    double GetReplacement() const { return fdReplacement; }

    /// The bin of a number, whatever the outlier rule says; -1 for a missing one or a NaN.
    int FindBin(double x) const;

    bool NeedsTarget() const override { return fMethod == MethodMDLP; }
    std::string GetColumnName(int column) const override;
    std::unique_ptr<IMCEncoder> Clone() const override;

protected:
    const char* ClassName() const override { return "MCBinningEncoder"; }
    Learned LearnValid(const MCCommon_930::Value& value, const MCCommon_930::Value* target, double weight) override;
    bool LearnPlain(std::span<const double> x) override;
    bool IsTargetLegal(const MCCommon_930::Value& target) const override;
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
    using Piece = MCMath_930::MCQuantileSketch::Piece;

    bool SetMethod(Method method, int count, bool legal);
    MCMath_930::MCQuantileSketch AllValues() const;
    bool IsBeyondLimits(double x) const;
    std::vector<double> FrequencyCuts(const std::vector<Piece>& pieces) const;
    std::vector<double> WidthCuts(double lowest, double highest) const;
    std::vector<double> DeviationCuts(const std::vector<Piece>& pieces, bool exact, bool& finite) const;
    std::vector<double> MDLPCuts() const;
    double Between(double below, double above) const;
    void CountBins(const std::vector<Piece>& pieces);
    Outcome EncodeNumber(double x, double* columns) const;
    Outcome EncodeMissingAs(Outcome outcome, double* columns) const;
    void WriteBin(int bin, double* columns) const;
    double MiddleOf(int bin) const;

    // settings
    Method fMethod = MethodEqualFrequency;
    int fnCount = 10;
    bool fbCutAtMean = true;
    std::vector<double> fvGivenCuts;
    Closed fClosed = ClosedUpper;
    bool fbEndsClosed = false;
    double fdLowLimit = MCCommon_930::MCMV::gMissingValue;
    double fdHighLimit = MCCommon_930::MCMV::gMissingValue;
    OutlierRule fOutlierRule = OutlierAsMissing;
    Output fOutput = OutputIndex;
    int fnSketchLimit = MCMath_930::MCQuantileSketch::kDefaultLimit;

    // learned, until Finish: the values of each class; one class when there is no target
    internal::CategoryIndex fClasses;
    std::vector<MCMath_930::MCQuantileSketch> fvValues;
    MCMath_930::MCContStats fStats; // of MethodDeviations

    // result
    std::vector<double> fvCuts;
    std::vector<double> fvWeights;
    double fdLowest = MCCommon_930::MCMV::gMissingValue;
    double fdHighest = MCCommon_930::MCMV::gMissingValue;
    double fdReplacement = MCCommon_930::MCMV::gMissingValue;
    double fdRankError = 0.0;
};

} // namespace MCXML_930
