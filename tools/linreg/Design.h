// The model's columns: which predictor is a covariate, which a factor, and which columns and parameters they give.
#pragma once

#include "modelcore/modelcore.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace linreg {

/// A larger model is refused: its cross products alone would take 100 MB for each thread.
inline constexpr int kMaxParameters = 5000;

/// An index or a count that is known not to be negative.
inline std::size_t At(int index)
{
    return static_cast<std::size_t>(index);
}

/// One predictor. What it is shows with its first value: a number makes a covariate, any other text a factor.
struct Predictor {
    enum class Kind { Unknown, Covariate, Factor };

    std::string name;
    Kind kind = Kind::Unknown;
    bool namedAsFactor = false; ///< by the user
    std::string firstValue;     ///< the one that settled the kind
    std::int64_t numbers = 0;   ///< values that are numbers, in all cases
    std::int64_t texts = 0;     ///< and other ones
    int column = -1;            ///< of a covariate

    /// A category of a factor as it turned up in a case that is used, and the indicator column it got.
    struct Level {
        MCCommon_930::Value value; ///< a number when the text is one, so that 1 and 1.0 are one level
        int column = -1;
        double weight = 0.0; ///< sum of the frequency weights
    };
    std::vector<Level> levels;
    std::map<std::string, std::size_t, std::less<>> levelOfText; ///< every text that turned up
    std::map<double, std::size_t> levelOfNumber;
    MCXML_930::MCCategoricalEncoder encoder; ///< after FinishLevels: order, names and reference of the levels

    /// Whether it became a factor by a text among numbers: nearly always a mark for a missing value.
    bool IsSuspicious() const { return kind == Kind::Factor && !namedAsFactor && numbers >= 9 * texts; }
};

/// One coefficient of the model, in the order in which they are estimated and shown.
struct Parameter {
    enum class Kind { Intercept, Covariate, Level };

    Kind kind = Kind::Intercept;
    std::string field;      ///< the predictor's name; empty for the intercept
    std::string level;      ///< of a factor
    int column = -1;        ///< of the accumulated matrix; -1 for the intercept, which is fitted through the means
    bool reference = false; ///< the level that the others of its factor are compared with: 0, not estimated

    /// "(Intercept)", "carat", "cut=Ideal"
    std::string Name() const;
};

/// The columns that are accumulated: 0 is the target, then come the covariates, then the indicators of factor levels in
/// the order in which they turned up, so that a column never moves while new levels are still found.
class Design {
public:
    explicit Design(bool intercept) : fIntercept(intercept) {}

    bool HasIntercept() const { return fIntercept; }

    std::vector<Predictor>& Predictors() { return fPredictors; }
    const std::vector<Predictor>& Predictors() const { return fPredictors; }

    /// Gives the covariates their columns. Every predictor's kind is known by then.
    void PlaceCovariates();
    bool CovariatesPlaced() const { return fColumns > 0; }

    /// Adds a level to a factor, after PlaceCovariates. Returns its place among the levels.
    std::size_t AddLevel(Predictor& factor, const MCCommon_930::Value& value);

    /// Puts the levels of each factor in order, numbers by size and text by bytes, and chooses the references: see
    /// Options. A factor that alone makes up for the intercept has none. Throws Failure for a level or factor that is
    /// not there.
    void FinishLevels(const std::vector<std::string>& references);

    /// The target among them; 0 before PlaceCovariates.
    int NColumns() const { return fColumns; }
    int NCovariates() const { return fCovariates; }
    int NFactors() const { return static_cast<int>(fPredictors.size()) - fCovariates; }
    int NParameters() const { return fColumns - 1 + (fIntercept ? 1 : 0); }

    /// How many parameters data without accidents determine: all but the references.
    int NDeterminable() const;

    /// After FinishLevels.
    std::vector<Parameter> Parameters() const;

private:
    bool fIntercept;
    std::vector<Predictor> fPredictors;
    int fColumns = 0;
    int fCovariates = 0;
};

} // namespace linreg
