// Joint tests of all parameters of a term.
#pragma once

#include "model/Design.h"

#include "modelcore/modelcore.h"

#include <string>
#include <vector>

namespace model {

/// A model that was fitted by sweeping its parameters, all but the intercept.
struct SweptModel {
    const Design& design;
    const std::vector<Parameter>& parameters;     ///< without the intercept; parameter k is row k of swept
    const MCMath_930::MCSymMatrix& swept;         ///< the target is its last row
    const MCMath_930::MCSymMatrix* crossProducts; ///< the same before any sweep; null where it cannot be used
    const std::vector<int>& independent;          ///< parameters that were swept
    const std::vector<double>& estimates;         ///< by parameter
    const std::vector<double>& diagonal;          ///< of the cross products before any sweep
    double tolerance;
    const MCMath_930::MCExtendedSym* exactProducts = nullptr; ///< instead of crossProducts, in twice the digits
};

struct TermTest {
    enum class Kind {
        TypeThree, ///< the hypotheses of sum-to-zero coding
        TypeTwo,   ///< what the term adds to those that do not contain it
        None       ///< nothing can be tested
    };

    std::string name;
    Kind kind = Kind::None;
    double df = 0.0;
    double sum = MCCommon_930::MCMV::Missing(); ///< the quadratic form: a sum of squares
};

/// Tests every term.
///
/// The hypothesis of a term is that its effects are 0 when every factor is coded so that its effects sum to zero over
/// its levels ("type III"): those of a main effect are averages over all levels of the factors that it interacts with,
/// each level counting the same, and so do not depend on reference levels. Where cells are empty, or parameters aliased,
/// some of these averages may not be estimable. Then the term is tested by what it adds to the model of all terms that
/// do not contain it ("type II"), which does not depend on reference levels either. A term contains another when it has
/// the same covariates, and all of its factors and more.
std::vector<TermTest> TestTerms(const SweptModel& model);

} // namespace model
