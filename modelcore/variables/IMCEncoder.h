// The interface of encoders: from a field's values to the numbers that a model takes.
#pragma once

#include "modelcore/common/MCStatus.h"
#include "modelcore/common/Value.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/xml/JsonObject.h"

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>

namespace MCXML_930 {

/// Turns the values of one field into one or more columns of doubles.
///
/// Settings first, then Learn over the data, in pieces that are merged where that suits, then Finish, then Encode. Once
/// a case has been learned, settings are refused; once finished, learning and merging are. What was learned does not
/// depend on the order of the data: categories are sorted, quantiles are those of the set of values, and the pieces
/// merge in any order to the same state, to the bit, as far as it is counts and whole weights. Sums of reals (fractional
/// weights, means, sums of a target) are rounded in the order of the calls: merge the pieces by block number
/// (MCBlockFold) and the bits are the same for any number of threads.
///
/// A value is *missing* when it is null, the missing real or a NaN, *unseen* when it is a category that was not learned,
/// an *outlier* when it is a number beyond the encoder's limits. These are outcomes with rules, not errors, and each
/// stays apart from the others. The order of the virtual functions is part of the binary interface.
class MODELCORE_EXPORT IMCEncoder {
public:
    /// What became of a value. Whatever is not Refused has its columns filled.
    enum Outcome : std::int32_t { Encoded, EncodedMissing, EncodedUnseen, EncodedOutlier, Refused };

    /// What becomes of a missing value.
    enum MissingRule : std::int32_t {
        MissingStays,       ///< every column is the system-missing value
        MissingReplaced,    ///< it is encoded as another value: the one given, or one that was learned
        MissingOwnCategory, ///< a category of its own; of a number, the replacement and a column that is 1
        MissingRefused      ///< Refused
    };

    /// What becomes of an unseen category.
    enum UnseenRule : std::int32_t {
        UnseenRefused,    ///< Refused
        UnseenAsMissing,  ///< by the missing rule
        UnseenAsBaseline, ///< as the reference category, from which it then cannot be told
        UnseenAsOther     ///< as the category of the others, which then exists always
    };

    /// What becomes of a number beyond the limits.
    enum OutlierRule : std::int32_t {
        OutlierStays,     ///< encoded as it is; Encoded
        OutlierClipped,   ///< encoded as the nearer limit
        OutlierAsMissing, ///< by the missing rule
        OutlierRefused    ///< Refused
    };

    /// The codes of the statuses of Finish. Errors leave the encoder as it was.
    enum FinishCode : std::int32_t {
        FinishNoValues = 1,           ///< warning: nothing valid was learned; valid values are refused or unseen
        FinishConstant = 2,           ///< warning: the field has one value
        FinishFewerBins = 3,          ///< warning: discrete data 0 and 1 are the bins asked for and there
        FinishManyCategories = 4,     ///< warning: discrete data 0 and 1 are the categories and the limit; an error
                                      ///< where the coding cannot be held
        FinishApproximate = 5,        ///< warning: cuts are approximate; scale datum 0 is the largest error in rank
        FinishUnknownReference = 6,   ///< error: the named reference is no category
        FinishUnknownReplacement = 7, ///< error: the replacement of missing values is not given or no category
        FinishUnknownScore = 8,       ///< error: the category of discrete datum 0 has no score
        FinishNotFinite = 9,          ///< error: what was learned gives no scale: it overflows or underflows, or the
                                      ///< weights of different values sum up to no more than 1
        FinishNotPossible = 10        ///< error: settings contradict each other, or it is finished
    };

    virtual ~IMCEncoder();

    /// The name of the field, which the names of the columns begin with.
    virtual const std::string& GetField() const = 0;

    /// Adds a case. Missing values are counted too, and so are the weights of what is unseen.
    ///
    /// @return  false, and nothing changed, when the weight is not finite and above 0 or brings the sum of all above
    ///          2^1023, the value is of a type that the encoder does not take or is refused by a rule, a target is
    ///          needed, or the encoder is finished
    virtual bool Learn(const MCCommon_930::Value& value, double frequencyWeight = 1.0) = 0;

    /// Adds a case for each x, with weight 1 when weights is empty. When memory runs out after the first of them, all
    /// that was learned is forgotten, from earlier calls too: half a block must not stay, since nobody could say which
    /// half. The settings stay.
    /// @return  how many were added; -1, and nothing changed, when there are weights but not as many as values
    virtual int LearnBlock(std::span<const double> x, std::span<const double> weights = {}) = 0;

    /// Whether cases come with the value of a target, through the two members below.
    virtual bool NeedsTarget() const = 0;

    /// Adds a case with its target. An encoder that needs none takes the value alone.
    /// @return  as Learn; also false when a target is needed and this one is missing or of a type that is not taken
    virtual bool LearnWithTarget(const MCCommon_930::Value& value, const MCCommon_930::Value& target,
                                 double frequencyWeight = 1.0) = 0;
    /// The same with targets; when memory runs out too.
    /// @return  as LearnBlock; -1 also when there are not as many targets as values
    virtual int LearnBlockWithTarget(std::span<const double> x, std::span<const double> targets,
                                     std::span<const double> weights = {}) = 0;

    /// Adds what another encoder has learned.
    /// @return  false, and nothing changed, when it is of another class, of another field or has other settings, is this
    ///          one, one of the two is finished, or the weights of both sum up to more than 2^1023
    virtual bool Merge(const IMCEncoder& other) = 0;

    /// Ends learning and decides how values are encoded. See FinishCode; of several warnings, that of the lowest code.
    virtual MCCommon_930::MCStatus Finish() = 0;
    /// Whether Finish has succeeded.
    virtual bool IsFinished() const = 0;

    /// The number of columns; 0 before Finish.
    virtual int GetNColumns() const = 0;
    /// The name of a column; empty when there is none of that number.
    virtual std::string GetColumnName(int column) const = 0;

    /// Encodes a value into the first GetNColumns columns. Refused leaves them as they are, and is also what comes
    /// before Finish and for too few columns.
    virtual Outcome Encode(const MCCommon_930::Value& value, std::span<double> columns) const = 0;

    /// The value that columns of Encode stand for; a missing one is null. What several values share is a value that
    /// stands for them: a limit, the name of the others, a value inside the bin.
    ///
    /// @return  false, and the value unchanged, when no value of the encoder has these columns
    virtual bool Decode(std::span<const double> columns, MCCommon_930::Value& value) const = 0;

    /// Encodes each x into a row of rows, from i*stride on. What is refused gets system-missing in every column.
    ///
    /// @param stride    at least GetNColumns
    /// @param outcomes  empty, or the outcome of each x
    /// @return  how many were not refused; -1, and nothing changed, before Finish or when a span is too short
    virtual int EncodeBlock(std::span<const double> x, std::span<double> rows, int stride,
                            std::span<Outcome> outcomes = {}) const = 0;

    /// A copy on the heap.
    virtual std::unique_ptr<IMCEncoder> Clone() const = 0;

    /// The class, the settings and what was learned, every bit of it.
    virtual JsonObject ToJson() const = 0;
    /// Restores what ToJson returned.
    /// @return  false, and nothing changed, when it is not the state of such an encoder
    virtual bool FromJson(const JsonObject& json) = 0;

    /// Saves the state as an element of a flat value stream.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    virtual int WriteObjectXML(std::ostream& stream, int indent) const = 0;
    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    virtual int ReadObjectXML(std::ifstream& stream) = 0;

    /// Writes settings and state to the diagnostic text stream.
    virtual void Display() const = 0;

protected:
    IMCEncoder() = default;
    IMCEncoder(const IMCEncoder&) = default;
    IMCEncoder& operator=(const IMCEncoder&) = default;
};

} // namespace MCXML_930
