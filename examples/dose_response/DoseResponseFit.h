// An iterative procedure that can be cancelled and asked for its progress.
#pragma once

#include "modelcore/modelcore.h"

#include <vector>

/// Fits the logistic dose-response curve P(response) = 1 / (1 + exp(-(a + b*dose))) by Newton's method.
class DoseResponseFit {
public:
    /// What the status of Fit, or a warning, says.
    enum Code : long {
        NotEnoughCases = 1, ///< error: no curve goes through fewer than two doses
        Cancelled = 2,      ///< error; discrete datum 0 is the number of the iteration
        NotConverged = 3,   ///< warning; scale datum 0 is the decrement that is left
        CasesLeftOut = 4    ///< warning; discrete datum 0 is the number of cases with a missing value
    };

    DoseResponseFit() = default;
    DoseResponseFit(const DoseResponseFit&) = delete; // the progress report points into the object
    DoseResponseFit& operator=(const DoseResponseFit&) = delete;

    /// @param cases   rows of responses, dose, subjects, at least one; read once for each trial of the
    ///                parameters
    /// @param cancel  polled before each pass
    MCCommon_930::MCStatus Fit(MCCommon_930::MultiPassRecordIter& cases, MCMath_930::MCCancelInfo& cancel);

    /// a and b. After an error those of the last finished iteration; empty when there is none.
    const std::vector<double>& Estimates() const { return fvEstimates; }
    const MCCommon_930::ProgressReportVect& Progress() const { return fProgress; }
    const MCCommon_930::MCWarnings& Warnings() const { return fWarnings; }

private:
    std::vector<double> fvEstimates;
    MCMath_930::MCIterationReporter fProgress;
    MCCommon_930::MCWarnings fWarnings;
};
