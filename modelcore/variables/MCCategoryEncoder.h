// What the encoders of categories share: the categories, their order, the reference, the rare and the unseen.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCEncoderBase.h"
#include "modelcore/variables/internal/CategoryIndex.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace MCXML_930 {

/// Learns the categories of a field with their weights. Bools, numbers and strings are categories; equality is exact, an
/// integer is the same category as the real of its size, and -0.0 as 0.0.
///
/// Finish makes levels of them, in this order: the categories, sorted (false before true, numbers by size, text by
/// bytes) or as given; the *others*, when there are rare categories or the rule for unseen ones asks for them; the
/// missing, under MissingOwnCategory. The order never depends on the order of the data. Finding a category takes one
/// hash.
class MODELCORE_EXPORT MCCategoryEncoder : public MCEncoderBase {
public:
    /// How the reference level is found.
    enum Reference : std::int32_t { ReferenceFirst, ReferenceLast, ReferenceMostFrequent, ReferenceNamed };

    ~MCCategoryEncoder() override;

    /// The categories and their order are these; others that are learned are counted as unseen.
    /// @return  false also when one is missing, comes twice, or is no bool, number or string
    bool SetCategories(const std::vector<MCCommon_930::Value>& categories);
    /// Whether SetCategories gave them.
    bool AreCategoriesGiven() const { return fbGiven; }
    /// The categories known so far, in the order of the list or of their arrival; sorted after Finish.
    const std::vector<MCCommon_930::Value>& GetCategories() const { return fIndex.GetValues(); }

    /// The level that others are compared with: the first at first. Of the most frequent, the first in order wins a tie.
    /// First and last are sought among all levels, the others and the missing included; most frequent among those that
    /// are categories, unless there are none.
    bool SetReference(Reference reference);
    /// The level of that category is the reference.
    bool SetReference(const MCCommon_930::Value& category);
    Reference GetReference() const { return fReference; }

    /// Categories of less than this weight are joined as the others; 0 for none.
    bool SetMinWeight(double weight);
    double GetMinWeight() const { return fdMinWeight; }
    /// So many of the heaviest categories are kept, the first in order at a tie, the rest joined; 0 for all.
    bool SetMaxKept(int count);
    int GetMaxKept() const { return fnMaxKept; }
    /// The name of the others, "(other)" at first. A category of that name is one of them.
    bool SetOtherName(const std::string& name);
    const std::string& GetOtherName() const { return fOtherName; }

    /// What becomes of a category that was not learned.
    bool SetUnseenRule(UnseenRule rule);
    UnseenRule GetUnseenRule() const { return fUnseenRule; }

    /// Finish warns when there are more levels than this; 1000 at first.
    bool SetManyCategories(int limit);
    int GetManyCategories() const { return fnMany; }

    /// The levels of a finished encoder. The value of the others is their name, that of the missing null.
    int GetNLevels() const { return static_cast<int>(fvLevels.size()); }
    /// The values of the levels.
    const std::vector<MCCommon_930::Value>& GetLevels() const { return fvLevels; }
    /// The weights learned of each level, the rare ones' in that of the others.
    const std::vector<double>& GetLevelWeights() const { return fvLevelWeights; }
    /// The text of a level, as in names of columns. Strings stand in quotes where they could be taken for a number, a
    /// bool or the name of a special level.
    std::string GetLevelText(int level) const;
    /// Places of special levels; -1 when there is none.
    int GetReferenceLevel() const { return fnReference; }
    /// The place of the level of the others; -1 when there is none.
    int GetOtherLevel() const { return fnOther; }
    /// The place of the level of the missing; -1 when there is none.
    int GetMissingLevel() const { return fnMissing; }
    /// The weight of categories that were not in the given list.
    double GetUnseenWeight() const { return fdUnseenWeight; }

    /// The level of a value: of its category, or what the rules say of a missing or unseen one; -1 for none. Of a
    /// finished encoder.
    int FindLevel(const MCCommon_930::Value& value) const;
    /// The level of each number. For sparse coding, where a row of columns would be wasteful.
    /// @return  how many have a level; -1, and nothing changed, before Finish or when there is not room for all
    int FindLevels(std::span<const double> x, std::span<int> levels) const;

protected:
    /// An encoder of the field with the settings that are named as first ones.
    explicit MCCategoryEncoder(std::string field);
    MCCategoryEncoder(const MCCategoryEncoder&);
    MCCategoryEncoder(MCCategoryEncoder&&) noexcept;
    MCCategoryEncoder& operator=(const MCCategoryEncoder&);
    MCCategoryEncoder& operator=(MCCategoryEncoder&&) noexcept;

    /// The category that a value counts as; the value itself, or changed in work. Null for a missing one.
    virtual const MCCommon_930::Value& Normalized(const MCCommon_930::Value& value, MCCommon_930::Value&) const
    {
        return value;
    }
    /// Whether Normalized changes anything.
    virtual bool ChangesValues() const { return false; }
    /// Makes the numbers of the levels; sets columns. May refuse; then nothing has changed.
    virtual MCCommon_930::MCStatus FinishLevels(int& columns) = 0;
    /// Writes the row of a level; the level -1 stands for a baseline that is none (see HasOwnBaseline).
    virtual void WriteLevel(int level, double* columns) const = 0;
    /// Writes the rows of many levels. Only a class with a faster way overrides it.
    virtual void WriteLevels(std::span<const int> levels, double* rows, std::size_t stride) const;
    /// Whether an unseen category under UnseenAsBaseline is encoded as level -1 instead of as the reference.
    virtual bool HasOwnBaseline() const { return false; }
    /// The level that has this row; -1 for none.
    virtual int FindRow(const double* columns) const = 0;

    Learned LearnValid(const MCCommon_930::Value& value, const MCCommon_930::Value* target, double weight) override;
    void LearnMissing(const MCCommon_930::Value* target, double weight) override;
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
    void DisplayLearned() const override;
    void ForgetLearned() noexcept override;

    /// Sums of weight times target: of each level.
    const std::vector<double>& GetTargetSums() const { return fvLevelTargets; }
    /// The mean of the target over all levels; system-missing when they have no weight.
    double GetTargetMean() const;

private:
    void FindCategories(std::span<const double> x, int* places) const;
    Outcome EncodeCategory(int category, double* columns) const;
    Outcome EncodeMissingAs(Outcome outcome, double* columns) const;
    int MissingLevel() const;
    int UnseenLevel() const;
    std::vector<char> FindRare() const;
    MCCommon_930::MCStatus FinishCategories(int& columns);
    void MakeLevels();
    int ChooseReference() const;

    // settings
    bool fbGiven = false;
    Reference fReference = ReferenceFirst;
    MCCommon_930::Value fReferenceCategory;
    double fdMinWeight = 0.0;
    int fnMaxKept = 0;
    std::string fOtherName = "(other)";
    UnseenRule fUnseenRule = UnseenRefused;
    int fnMany = 1000;

    // learned
    internal::CategoryIndex fIndex;
    std::vector<double> fvWeights; // of each category
    std::vector<double> fvTargets; // sums of weight * target, when a target is needed
    double fdUnseenWeight = 0.0;
    double fdUnseenTarget = 0.0;
    double fdMissingTarget = 0.0;

    // result
    std::vector<int> fvLevelOf; // of each category
    std::vector<MCCommon_930::Value> fvLevels;
    std::vector<double> fvLevelWeights;
    std::vector<double> fvLevelTargets;
    int fnReference = -1;
    int fnOther = -1;
    int fnMissing = -1;
    int fnReplacement = -1;
    bool fbQuoted = false; // strings and other categories are mixed
};

} // namespace MCXML_930
