// A coefficient with what is known about it, and how documents and pictures show it.
#pragma once

#include "common/Chart.h"
#include "model/Design.h"

#include "modelcore/modelcore.h"

#include <string>
#include <vector>

namespace model {

/// Numbers that do not exist are missing: all but the parameter for one that is aliased, everything but the estimate
/// when no degrees of freedom are left.
struct Coefficient {
    Parameter parameter;
    bool aliased = false;
    bool separated = false; ///< the data drive it to infinity: it has no estimate
    double estimate = MCCommon_930::MCMV::Missing();
    double stdError = MCCommon_930::MCMV::Missing();
    double t = MCCommon_930::MCMV::Missing();            ///< or z
    double significance = MCCommon_930::MCMV::Missing(); ///< two-sided
    double lower = MCCommon_930::MCMV::Missing();
    double upper = MCCommon_930::MCMV::Missing();
    double tolerance = MCCommon_930::MCMV::Missing(); ///< the share of its column that the others leave: 1/VIF

    bool HasEstimate() const { return !aliased && !separated && !parameter.reference; }
    /// "aliased", "reference" or "separated".
    std::string WhyNot() const;
};

/// The StatXML block "Parameter" of a coefficient; its ratio of estimate and error is named "t" or "z".
MCXML_930::XMLElement* CreateParameter(const Coefficient& coefficient, const char* ratio);

/// The StatXML block of the covariances, the lower triangle row by row.
/// @param estimated  positions of the coefficients that its rows are of
MCXML_930::XMLElement* CreateCovariance(const std::vector<Coefficient>& coefficients, const std::vector<int>& estimated,
                                        const MCMath_930::MCSymMatrix& covariance);

/// Adds the terms and coefficients of a PMML model. Reference levels add nothing, and neither does what is aliased.
void AddPmmlTerms(const std::vector<Coefficient>& coefficients, const MCXML_930::MCVariableList& variables,
                  MCXML_930::MCPMMLModel& model);

/// Every estimate but that of the intercept, with its limits.
procedure::Chart DrawCoefficients(const std::string& subtitle, const std::vector<Coefficient>& coefficients);

} // namespace model
