// The sums of a part of the data, which other parts can be added to.
#pragma once

#include "ExactFit.h"
#include "Options.h"
#include "model/CaseReader.h"
#include "model/Design.h"

#include "modelcore/modelcore.h"

#include <optional>
#include <string>
#include <vector>

namespace linreg {

/// What the first reading leaves: enough to fit the model without the data.
struct Sums {
    model::CaseCounts counts;
    double frequencies = 0.0;
    double weights = 0.0;
    std::vector<double> shift; ///< subtracted from the first columns; empty: nothing
    std::vector<double> means; ///< by design column, of the shifted ones
    MCMath_930::MCSymMatrix products;
    std::optional<ExactSums> exact; ///< instead of shift, means and products

    /// Adds other, whose column j is columns[j] here (Chan, Golub and LeVeque 1979); there are nColumns in all.
    void Merge(const Sums& other, const std::vector<int>& columns, int nColumns, bool intercept);
};

/// A saved state: model, levels and sums. Exact sums come behind it.
MCXML_930::JsonObject SaveState(const Options& options, const model::Design& design, const Sums& sums);

/// Exact sums as they stand in the file behind the line of the state.
std::string SaveExactSums(const ExactSums& sums);

/// Reads states into design and sums, and into options what the model is. Throws Failure for a file that is no state and
/// for states of different models.
void LoadStates(const std::vector<std::string>& paths, Options& options, model::Design& design, Sums& sums);

} // namespace linreg
