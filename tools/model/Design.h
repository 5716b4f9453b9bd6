// The model's columns: which predictor is a covariate, which a factor, and which columns and parameters their terms give.
#pragma once

#include "common/Formula.h"

#include "modelcore/modelcore.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace model {

/// A larger model is refused: its cross products alone would take 100 MB for each thread.
inline constexpr int kMaxParameters = 5000;
/// So many factors a product may have; the levels of each are told apart by 16 bits of a key.
inline constexpr std::size_t kMaxFactorsInTerm = 4;

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

    /// A category of a factor as it turned up in a case that is used.
    struct Level {
        MCCommon_930::Value value; ///< a number when the text is one, so that 1 and 1.0 are one level
        double weight = 0.0;       ///< sum of the frequency weights
    };
    std::vector<Level> levels;
    std::map<std::string, std::size_t, std::less<>> levelOfText; ///< every text that turned up
    std::map<double, std::size_t> levelOfNumber;
    MCXML_930::MCCategoricalEncoder encoder; ///< after FinishLevels: order, names and reference of the levels

    /// Whether it became a factor by a text among numbers: nearly always a mark for a missing value. Of merged states
    /// it is not known.
    bool IsSuspicious() const { return kind == Kind::Factor && !namedAsFactor && texts > 0 && numbers >= 9 * texts; }
};

/// A product of predictors. Of covariates alone it is one column; with factors it has a column for each combination of
/// their levels that occurs, a cell, which holds the product of the covariates in the cases of the cell.
struct Term {
    struct Covariate {
        std::size_t predictor = 0;
        int power = 1;

        bool operator==(const Covariate&) const = default;
    };
    struct Cell {
        std::vector<std::size_t> levels; ///< places among the levels of each factor
        int column = -1;
    };
    std::string name;
    std::vector<Covariate> covariates;
    std::vector<std::size_t> factors; ///< predictors
    int column = -1;                  ///< without factors
    std::vector<Cell> cells;
    std::unordered_map<std::uint64_t, std::size_t> cellOfKey;

    /// Whether the product is of several numbers, so that a double rounds it.
    bool IsRounded() const
    {
        int degree = 0;
        for (const Covariate& c : covariates) degree += c.power;
        return degree > 1;
    }
    std::vector<bool> hasMargin; ///< after FinishLevels, for each factor: whether the model spans the term without it
};

/// One coefficient of the model, in the order in which they are estimated and shown.
struct Parameter {
    enum class Kind { Intercept, Covariate, Level, Product };
    struct Part {
        std::string field;
        bool isFactor = false;
        std::string level; ///< of a factor
        int place = 0;     ///< of the level, in the order of the factor's categories
        int power = 1;     ///< of a covariate
    };

    Kind kind = Kind::Intercept;
    std::string field;      ///< the predictor's name, for the kinds of one; empty for the intercept and products
    std::string level;      ///< of a factor
    int column = -1;        ///< of the accumulated matrix; -1 for the intercept, which is fitted through the means
    bool reference = false; ///< a level that others of its factor are compared with: 0, not estimated
    int term = -1;          ///< -1 for the intercept
    int cell = -1;          ///< of the term, when it has factors
    std::vector<Part> parts;

    /// "(Intercept)", "carat", "cut=Ideal", "carat:cut=Ideal", "carat^2"
    std::string Name() const;
};

/// The columns that are accumulated: 0 is the target, then come the terms of covariates alone, then the cells of terms
/// with factors in the order in which they turned up, so that a column never moves while new levels are still found.
class Design {
public:
    explicit Design(bool intercept) : fIntercept(intercept) {}

    bool HasIntercept() const { return fIntercept; }

    std::vector<Predictor>& Predictors() { return fPredictors; }
    const std::vector<Predictor>& Predictors() const { return fPredictors; }
    /// The place of the predictor of that name, which is added if there is none.
    std::size_t FindOrAddPredictor(const std::string& name);

    /// What the terms are, before any case is read.
    void SetTerms(const std::vector<procedure::FormulaTerm>& terms);
    const std::vector<Term>& Terms() const { return fTerms; }
    const std::vector<procedure::FormulaTerm>& Formula() const { return fFormula; }

    /// Tells factors from covariates in the terms and gives columns to those of covariates alone. Every predictor's kind
    /// is known by then. Throws Failure for a power of a factor.
    void PlaceCovariates();
    bool CovariatesPlaced() const { return fColumns > 0; }

    /// Adds a level to a factor. Returns its place among the levels.
    std::size_t AddLevel(Predictor& factor, const MCCommon_930::Value& value);

    /// The column of a term for a case with these levels of all predictors; a new one when learning, else -1 for a
    /// combination that did not occur.
    int CellColumn(std::size_t term, const std::vector<std::size_t>& levels, bool learning);

    /// Puts the levels of each factor in order, numbers by size and text by bytes, and chooses the references: see
    /// Options. A factor that alone makes up for the intercept has none. Throws Failure for a level or factor that is
    /// not there.
    void FinishLevels(const std::vector<std::string>& references);

    /// The target among them; 0 before PlaceCovariates.
    int NColumns() const { return fColumns; }
    /// Terms of covariates alone, and the others.
    const std::vector<std::size_t>& CovariateTerms() const { return fCovariateTerms; }
    const std::vector<std::size_t>& FactorTerms() const { return fFactorTerms; }
    /// Whether a term has both factors and covariates.
    bool HasMixedTerms() const { return fHasMixed; }
    int NParameters() const { return fColumns - 1 + (fIntercept ? 1 : 0); }

    /// After FinishLevels.
    std::vector<Parameter> Parameters() const;
    /// How many of them data without accidents determine: all but the references.
    int NDeterminable() const;

private:
    bool IsReference(const Term& term, const Term::Cell& cell) const;

    bool fIntercept;
    std::vector<Predictor> fPredictors;
    std::vector<Term> fTerms;
    std::vector<procedure::FormulaTerm> fFormula;
    std::vector<std::size_t> fCovariateTerms;
    std::vector<std::size_t> fFactorTerms;
    bool fHasMixed = false;
    int fColumns = 0;
};

} // namespace model
