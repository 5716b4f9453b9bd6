// What the encoders share.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/variables/IMCEncoder.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>

namespace MCXML_930 {

/// The field's name, the rule for missing values, the counts of cases, blocks of values and the saved state of an
/// encoder. Settings return false, and change nothing, when they are not legal or a case has been learned.
class MODELCORE_EXPORT MCEncoderBase : public IMCEncoder {
public:
    ~MCEncoderBase() override;

    const std::string& GetField() const override { return fField; }

    /// What becomes of missing values, and the value they are replaced by under MissingReplaced (of a number under
    /// MissingOwnCategory too); null leaves the choice to the encoder. At first MissingStays.
    bool SetMissingRule(MissingRule rule, const MCCommon_930::Value& replacement = {});
    MissingRule GetMissingRule() const { return fMissingRule; }
    /// The replacement that SetMissingRule was given.
    const MCCommon_930::Value& GetMissingReplacement() const { return fReplacement; }

    /// The sum of weights of the cases learned that were not missing, and of those that were.
    double GetValidWeight() const { return fdValidWeight; }
    /// The sum of weights of the cases learned that were missing.
    double GetMissingWeight() const { return fdMissingWeight; }

    bool Learn(const MCCommon_930::Value& value, double frequencyWeight = 1.0) override;
    int LearnBlock(std::span<const double> x, std::span<const double> weights = {}) override;
    bool NeedsTarget() const override { return false; }
    bool LearnWithTarget(const MCCommon_930::Value& value, const MCCommon_930::Value& target,
                         double frequencyWeight = 1.0) override;
    int LearnBlockWithTarget(std::span<const double> x, std::span<const double> targets,
                             std::span<const double> weights = {}) override;
    bool Merge(const IMCEncoder& other) override;
    MCCommon_930::MCStatus Finish() override;
    bool IsFinished() const override { return fbFinished; }
    int GetNColumns() const override { return fbFinished ? fnColumns : 0; }
    Outcome Encode(const MCCommon_930::Value& value, std::span<double> columns) const override;
    bool Decode(std::span<const double> columns, MCCommon_930::Value& value) const override;
    int EncodeBlock(std::span<const double> x, std::span<double> rows, int stride,
                    std::span<Outcome> outcomes = {}) const override;
    /// The same for values of any type.
    int EncodeBlock(std::span<const MCCommon_930::Value> values, std::span<double> rows, int stride,
                    std::span<Outcome> outcomes = {}) const;

    JsonObject ToJson() const override;
    bool FromJson(const JsonObject& json) override;
    int WriteObjectXML(std::ostream& stream, int indent) const override;
    int ReadObjectXML(std::ifstream& stream) override;
    void Display() const override;

    /// The class, the field, the settings, what was learned and the result are the same to the bit.
    bool operator==(const MCEncoderBase& other) const;

    /// An encoder of the class of that name ("MCBinningEncoder"), without a field; null for another class.
    static std::unique_ptr<MCEncoderBase> Create(const std::string& className);
    /// The encoder that ToJson of any class returned; null when it is none.
    static std::unique_ptr<MCEncoderBase> CreateFromJson(const JsonObject& json);

protected:
    /// What learning makes of a value.
    enum class Learned : std::uint8_t { Valid, Missing, Refused };

    /// An encoder of the field that has learned nothing.
    explicit MCEncoderBase(std::string field);
    MCEncoderBase(const MCEncoderBase&);
    MCEncoderBase(MCEncoderBase&&) noexcept;
    MCEncoderBase& operator=(const MCEncoderBase&);
    MCEncoderBase& operator=(MCEncoderBase&&) noexcept;

    /// Whether settings may be changed.
    bool IsFresh() const { return !fbFinished && fdValidWeight == 0.0 && fdMissingWeight == 0.0; }
    /// A scalar that is not missing, or null for no replacement.
    bool IsReplacementLegal(const MCCommon_930::Value& value) const;

    /// The name that stands in the saved state.
    virtual const char* ClassName() const = 0;
    /// Adds a value that is not missing. Missing: it is to be counted as such.
    virtual Learned LearnValid(const MCCommon_930::Value& value, const MCCommon_930::Value* target, double weight) = 0;
    /// Adds numbers of weight 1 in one go, if all are valid and the class has a faster way for them. May lose what was
    /// learned when memory runs out.
    /// @return  false, and nothing changed, when they are to be learned one by one
    virtual bool LearnPlain(std::span<const double>) { return false; }
    /// Whether the target can be learned from.
    virtual bool IsTargetLegal(const MCCommon_930::Value&) const { return true; }
    /// Adds a missing value, beside its count.
    virtual void LearnMissing(const MCCommon_930::Value*, double) {}
    /// Adds what another encoder of the same class and settings learned.
    virtual void MergeLearned(const MCEncoderBase& other) = 0;
    /// Decides how values are encoded; sets columns. An error changes nothing.
    virtual MCCommon_930::MCStatus FinishLearned(int& columns) = 0;
    /// Encodes one value; the encoder is finished and there is room.
    virtual Outcome EncodeOne(const MCCommon_930::Value& value, double* columns) const = 0;
    /// The value whose row this is. False, and the value as it was, when there is none.
    virtual bool DecodeRow(const double* columns, MCCommon_930::Value& value) const = 0;
    /// Encodes a block of numbers; all spans are long enough. Only a class with a faster way overrides it.
    virtual int EncodeRows(std::span<const double> x, double* rows, std::size_t stride, Outcome* outcomes) const;

    /// Writes the settings to entries of a map.
    virtual void SaveSettings(MCCommon_930::Value& map) const;
    /// Reads what SaveSettings wrote, into an object that is thrown away when it fails.
    virtual bool LoadSettings(const MCCommon_930::Value& map);
    /// Writes what was learned to entries of a map.
    virtual void SaveLearned(MCCommon_930::Value& map) const;
    /// Reads what SaveLearned wrote, as LoadSettings does.
    virtual bool LoadLearned(const MCCommon_930::Value& map);
    /// An encoder of the same class with the state of the tree, put in the place of this one.
    virtual bool Replace(const MCCommon_930::Value& tree) = 0;
    /// What Replace of a class does, for which it is called with the object itself.
    template <class Encoder>
    static bool ReplaceBy(Encoder& encoder, const MCCommon_930::Value& tree)
    {
        Encoder loaded;
        if (!loaded.Load(tree)) return false;
        encoder = std::move(loaded);
        return true;
    }
    /// Writes what was learned to the diagnostic text stream.
    virtual void DisplayLearned() const = 0;
    /// Takes back all that was learned, beside the counts; the encoder is not finished.
    virtual void ForgetLearned() noexcept = 0;

    /// Fills a row with system-missing.
    void FillMissing(double* columns) const;
    /// Writes the row of one outcome; the row is filled with system-missing when it is refused. Returns 0 for those.
    int Settle(Outcome outcome, double* columns, std::size_t i, Outcome* outcomes) const;

private:
    template <class LearnCases>
    int LearnWholeBlock(LearnCases learnCases);
    bool LearnOne(const MCCommon_930::Value& value, const MCCommon_930::Value* target, double weight);
    bool HasRoom(std::size_t count, std::size_t rows, int stride, std::size_t outcomes) const;
    MCCommon_930::Value Save() const;
    bool Load(const MCCommon_930::Value& tree);

    std::string fField;
    MissingRule fMissingRule = MissingStays;
    MCCommon_930::Value fReplacement;
    double fdValidWeight = 0.0;
    double fdMissingWeight = 0.0;
    int fnColumns = 0;
    bool fbFinished = false;
};

} // namespace MCXML_930
