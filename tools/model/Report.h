// The tables that every program which fits a model prints.
#pragma once

#include "common/Results.h"
#include "model/CaseReader.h"
#include "model/Coefficient.h"
#include "model/Options.h"

#include <vector>

namespace model {

/// Cases used, left out, and their weights.
void AddCounts(const ModelOptions& options, const CaseCounts& counts, double nCases, double sumOfWeights,
               procedure::ResultList& list);

/// What each column was taken for.
void AddVariables(const MCXML_930::MCVariableList& variables, procedure::Results& results);

/// Under the table of terms: what type II and type III mean.
void AddTestNotes(bool anyTypeTwo, procedure::ResultTable& table);

/// @param ratio   "t" or "z"
/// @param isLogit whether exp(estimate) is an odds ratio, which is then shown with its limits
void AddCoefficients(const ModelOptions& options, const std::vector<Coefficient>& coefficients, const char* ratio,
                     bool isLogit, procedure::Results& results);

} // namespace model
