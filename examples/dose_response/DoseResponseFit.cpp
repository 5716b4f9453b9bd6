#include "examples/dose_response/DoseResponseFit.h"

#include <cmath>
#include <limits>

using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::MCWarnings;

namespace {

constexpr int kMaxIterations = 50;
constexpr int kMaxHalvings = 20;
constexpr double kTolerance = 1e-10;

/// What one pass over the cases gives: log-likelihood, gradient and information at a point.
struct Sums {
    double logLik = 0.0;
    double gradient[2] = {0.0, 0.0};
    double information[3] = {0.0, 0.0, 0.0}; // packed lower triangle
    int nMissing = 0;
};

bool HasMissing(const MCCommon_930::Record& row)
{
    for (int i = 0; i < row.Size(); ++i)
        if (MCMV::IsMissing(row[i])) return true;
    return false;
}

Sums Pass(MCCommon_930::MultiPassRecordIter& cases, const std::vector<double>& estimates)
{
    Sums sums;
    if (cases.NewPass() != 0) return sums;
    while (cases.HasMore()) {
        const MCCommon_930::Record& row = *cases.Next();
        if (HasMissing(row)) {
            ++sums.nMissing;
            continue;
        }
        const double responses = row[0], dose = row[1], subjects = row[2];
        const double eta = estimates[0] + estimates[1] * dose;
        const double p = 1.0 / (1.0 + std::exp(-eta));
        const double residual = responses - subjects * p;
        const double weight = subjects * p * (1.0 - p);
        sums.logLik +=
            responses * eta - subjects * (eta > 0.0 ? eta + std::log1p(std::exp(-eta)) : std::log1p(std::exp(eta)));
        sums.gradient[0] += residual;
        sums.gradient[1] += residual * dose;
        sums.information[0] += weight;
        sums.information[1] += weight * dose;
        sums.information[2] += weight * dose * dose;
    }
    return sums;
}

MCStatus Error(DoseResponseFit::Code code, int iteration)
{
    MCStatus status(code, false);
    status.SetDiscreteDatum(0, iteration);
    return status;
}

} // namespace

MCStatus DoseResponseFit::Fit(MCCommon_930::MultiPassRecordIter& cases, MCMath_930::MCCancelInfo& cancel)
{
    fvEstimates.clear();
    fProgress.Reset();
    fWarnings = MCWarnings();

    const MCCommon_930::MCTimeUtil timer;
    std::vector<double> trial{0.0, 0.0};
    double logLik = -std::numeric_limits<double>::infinity();
    double decrement = MCMV::Missing();
    for (int iteration = 0, halvings = 0; iteration < kMaxIterations;) {
        if (cancel.IsCancel()) return Error(Cancelled, iteration);

        const Sums sums = Pass(cases, trial);
        if (sums.logLik < logLik && halvings < kMaxHalvings) {
            for (std::size_t i = 0; i < 2; ++i) trial[i] = 0.5 * (trial[i] + fvEstimates[i]);
            ++halvings;
            continue;
        }
        const double determinant =
            sums.information[0] * sums.information[2] - sums.information[1] * sums.information[1];
        if (!(determinant > kTolerance * sums.information[0] * sums.information[2]))
            return Error(NotEnoughCases, iteration);

        fvEstimates = trial;
        logLik = sums.logLik;
        fProgress.SetInfo(&fvEstimates, iteration, halvings, -2.0 * logLik, timer.GetWallSeconds());
        if (iteration == 0 && sums.nMissing > 0) {
            MCStatus leftOut(CasesLeftOut, true);
            leftOut.SetDiscreteDatum(0, sums.nMissing);
            fWarnings.AddWarning(leftOut, MCWarnings::DestPrimary);
        }

        const double step[2] = {
            (sums.information[2] * sums.gradient[0] - sums.information[1] * sums.gradient[1]) / determinant,
            (sums.information[0] * sums.gradient[1] - sums.information[1] * sums.gradient[0]) / determinant};
        decrement = step[0] * sums.gradient[0] + step[1] * sums.gradient[1];
        if (decrement <= kTolerance) return MCStatus();
        for (std::size_t i = 0; i < 2; ++i) trial[i] = fvEstimates[i] + step[i];
        ++iteration;
        halvings = 0;
    }
    MCStatus notConverged(NotConverged, true);
    notConverged.SetScaleDatum(0, decrement);
    fWarnings.AddWarning(notConverged, MCWarnings::DestPrimary);
    return notConverged;
}
