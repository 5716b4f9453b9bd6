// A regression model that a program has fitted, as a PMML document.
#pragma once

#include "common/CsvReader.h"

#include "modelcore/modelcore.h"

#include <functional>
#include <ostream>
#include <string>

namespace procedure {

/// What a program knows of its model. Fields stand in it as they are in the data: numbers, and levels of factors.
struct PmmlModel {
    std::string program;
    MCXML_930::MCVariableList variables;
    MCXML_930::MCPMMLGeneralRegression model;
    std::function<double(double)> inverseLink; ///< empty: the linear predictor is the prediction
    MCXML_930::MCPMMLQuality quality;
    bool asRegression = false; ///< a RegressionModel in the place of a GeneralRegressionModel
    std::string frequency;     ///< the column that says how many cases a row stands for; empty: none
};

/// A covariance matrix of a larger model is left out: its cells would be most of the document.
inline constexpr int kMaxPmmlCovariance = 300;

/// Writes the document. Where the data can be read again they are, for statistics of the fields that the model uses and
/// for up to 100 cases, picked evenly, by which an evaluator can check itself. Throws Failure for a model that PMML
/// cannot express.
///
/// @return  what the document lacks, a sentence for people; empty when it lacks nothing
std::string WritePmml(const PmmlModel& model, const CsvFormat& format, InputFile& input, std::ostream& out);
/// The same where there are no data.
std::string WritePmml(const PmmlModel& model, std::ostream& out);

/// The application that the documents name, and its version.
void SetPmmlHeader(MCXML_930::MCPMMLExporter& exporter, const std::string& program);

} // namespace procedure
