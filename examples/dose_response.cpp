// A procedure that can be stopped and asked: fits a logistic dose-response curve, reporting each iteration.
// Usage: dose_response [LAST_ITERATION]; Ctrl-C stops it as well.
#include "modelcore/modelcore.h"

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

using namespace MCCommon_930;
using MCMath_930::MCCancelInfo;

namespace {

enum Code : long { NotEnoughDoses = 1, Cancelled = 2, NotConverged = 3, CasesLeftOut = 4 };

/// What one pass over the cases gives: log-likelihood, gradient and information at a point.
struct Sums {
    double logLik = 0.0;
    double gradient[2] = {0.0, 0.0};
    double information[3] = {0.0, 0.0, 0.0}; // packed lower triangle
    int nMissing = 0;
};

Sums Pass(MultiPassRecordIter& cases, const std::vector<double>& estimates)
{
    Sums sums;
    if (cases.NewPass() != 0) return sums;
    while (cases.HasMore()) {
        const Record& row = *cases.Next();
        const double responses = row[0], dose = row[1], subjects = row[2];
        if (MCMV::IsMissing(responses) || MCMV::IsMissing(dose) || MCMV::IsMissing(subjects)) {
            ++sums.nMissing;
            continue;
        }
        const double eta = estimates[0] + estimates[1] * dose;
        const double p = 1.0 / (1.0 + std::exp(-eta));
        const double weight = subjects * p * (1.0 - p);
        sums.logLik +=
            responses * eta - subjects * (eta > 0.0 ? eta + std::log1p(std::exp(-eta)) : std::log1p(std::exp(eta)));
        sums.gradient[0] += responses - subjects * p;
        sums.gradient[1] += (responses - subjects * p) * dose;
        sums.information[0] += weight;
        sums.information[1] += weight * dose;
        sums.information[2] += weight * dose * dose;
    }
    return sums;
}

/// P(response) = 1 / (1 + exp(-(a + b*dose))), by Newton's method. `estimates`, to which the report points, are those of
/// the last finished iteration.
MCStatus Fit(MultiPassRecordIter& cases, MCCancelInfo& cancel, std::vector<double>& estimates,
             MCMath_930::MCIterationReporter& progress, MCWarnings& warnings)
{
    const MCTimeUtil timer;
    std::vector<double> trial{0.0, 0.0};
    double logLik = -std::numeric_limits<double>::infinity();
    for (int iteration = 0, halvings = 0; iteration < 50;) {
        if (cancel.IsCancel()) return MCStatus(Cancelled, false);

        const Sums sums = Pass(cases, trial);
        if (sums.logLik < logLik && halvings < 20) { // too far: half the step
            for (std::size_t i = 0; i < 2; ++i) trial[i] = 0.5 * (trial[i] + estimates[i]);
            ++halvings;
            continue;
        }
        const double* const info = sums.information;
        const double determinant = info[0] * info[2] - info[1] * info[1];
        if (!(determinant > 1e-10 * info[0] * info[2])) return MCStatus(NotEnoughDoses, false);

        estimates = trial;
        logLik = sums.logLik;
        progress.SetInfo(&estimates, iteration, halvings, -2.0 * logLik, timer.GetWallSeconds());
        if (iteration == 0 && sums.nMissing > 0) {
            MCStatus leftOut(CasesLeftOut, true);
            leftOut.SetDiscreteDatum(0, sums.nMissing);
            warnings.AddWarning(leftOut, MCWarnings::DestPrimary);
        }

        const double* const g = sums.gradient;
        const double step[2] = {(info[2] * g[0] - info[1] * g[1]) / determinant,
                                (info[0] * g[1] - info[1] * g[0]) / determinant};
        if (step[0] * g[0] + step[1] * g[1] <= 1e-10) return MCStatus();
        for (std::size_t i = 0; i < 2; ++i) trial[i] = estimates[i] + step[i];
        ++iteration;
        halvings = 0;
    }
    return MCStatus(NotConverged, true);
}

volatile std::sig_atomic_t interrupted = 0;

/// The application's side: the procedure polls it, and it asks the procedure how far it has got.
class Watch : public MCQueryCancel {
public:
    Watch(const ProgressReportVect& progress, int lastIteration) : fProgress(progress), fLastIteration(lastIteration) {}

    bool CheckCancel() override
    {
        const std::vector<double>* const estimates = fProgress.VectorMeasure("paramEstim");
        if (estimates != nullptr)
            std::printf("iteration %d: -2 log-likelihood %.6f, a %.6f, b %.6f\n", fProgress.DiscreteMeasure("iterNum"),
                        fProgress.ScaleMeasure("loglik"), (*estimates)[0], (*estimates)[1]);
        return PeekCancel();
    }

    bool PeekCancel() override
    {
        return interrupted != 0 || (fLastIteration >= 0 && fProgress.VectorMeasure("paramEstim") != nullptr &&
                                    fProgress.DiscreteMeasure("iterNum") >= fLastIteration);
    }

private:
    const ProgressReportVect& fProgress;
    int fLastIteration;
};

} // namespace

int main(int argc, char** argv)
{
    // Beetles killed by carbon disulphide after five hours: log10 of the dose in mg/l, number of beetles (Bliss 1935,
    // Annals of Applied Biology 22, 134-167). The last row is ours, to show what becomes of a missing dose.
    double killed[] = {6, 13, 18, 28, 52, 53, 61, 60, 9};
    double cases[][2] = {{1.6907, 59}, {1.7242, 60}, {1.7552, 62}, {1.7842, 56},         {1.8113, 63},
                         {1.8369, 59}, {1.8610, 62}, {1.8839, 60}, {MCMV::Missing(), 10}};
    MemoryRecordIterator rows(9, 2, killed, &cases[0][0], nullptr);

    std::vector<double> estimates;
    MCMath_930::MCIterationReporter progress;
    MCWarnings warnings;
    Watch watch(progress, argc > 1 ? std::atoi(argv[1]) : -1);
    MCCancelInfo cancel(&watch);
    std::signal(SIGINT, [](int) { interrupted = 1; });

    const MCStatus status = Fit(rows, cancel, estimates, progress, warnings);
    for (const MCStatus& warning : warnings.GetWarnings(true))
        if (warning.GetErrorCode() == CasesLeftOut) std::printf("cases left out: %ld\n", warning.GetDiscreteDatum(0));
    if (status.IsError()) {
        std::printf("stopped with code %ld\n", status.GetErrorCode());
        return 1;
    }
    std::printf("a %.4f, b %.4f, half die at %.4f\n", estimates[0], estimates[1], -estimates[0] / estimates[1]);
    return 0;
}
