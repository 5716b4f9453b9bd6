// Fits a dose-response curve, reporting each iteration; Ctrl-C, or a number of iterations given, stops it.
#include "examples/dose_response/DoseResponseFit.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

volatile std::sig_atomic_t interrupted = 0;

/// The application's side: the procedure polls it, and it asks the procedure how far it has got.
class Watch : public MCCommon_930::MCQueryCancel {
public:
    Watch(const DoseResponseFit& fit, int lastIteration) : fFit(fit), fLastIteration(lastIteration) {}

    bool CheckCancel() override
    {
        const MCCommon_930::ProgressReportVect& progress = fFit.Progress();
        const std::vector<double>* const estimates = progress.VectorMeasure("paramEstim");
        if (estimates != nullptr)
            std::printf("iteration %d: -2 log-likelihood %.6f, a %.6f, b %.6f\n", progress.DiscreteMeasure("iterNum"),
                        progress.ScaleMeasure("loglik"), (*estimates)[0], (*estimates)[1]);
        return PeekCancel();
    }

    bool PeekCancel() override
    {
        return interrupted != 0 || (fLastIteration >= 0 && fFit.Progress().VectorMeasure("paramEstim") != nullptr &&
                                    fFit.Progress().DiscreteMeasure("iterNum") >= fLastIteration);
    }

private:
    const DoseResponseFit& fFit;
    int fLastIteration;
};

} // namespace

int main(int argc, char** argv)
{
    // Beetles killed by carbon disulphide after five hours: log10 of the dose in mg/l, number of beetles (Bliss 1935,
    // Annals of Applied Biology 22, 134-167). The last row is ours, to show what becomes of a missing dose.
    double killed[] = {6, 13, 18, 28, 52, 53, 61, 60, 9};
    double cases[][2] = {{1.6907, 59}, {1.7242, 60}, {1.7552, 62},
                         {1.7842, 56}, {1.8113, 63}, {1.8369, 59},
                         {1.8610, 62}, {1.8839, 60}, {MCCommon_930::MCMV::Missing(), 10}};
    MCCommon_930::MemoryRecordIterator rows(9, 2, killed, &cases[0][0], nullptr);

    DoseResponseFit fit;
    Watch watch(fit, argc > 1 ? std::atoi(argv[1]) : -1);
    MCMath_930::MCCancelInfo cancel(&watch);
    std::signal(SIGINT, [](int) { interrupted = 1; });

    const MCCommon_930::MCStatus status = fit.Fit(rows, cancel);
    for (const MCCommon_930::MCStatus& warning : fit.Warnings().GetWarnings(true))
        if (warning.GetErrorCode() == DoseResponseFit::CasesLeftOut)
            std::printf("cases left out: %ld\n", warning.GetDiscreteDatum(0));
    if (status.IsError()) {
        std::printf("stopped in iteration %ld with code %ld\n", status.GetDiscreteDatum(0), status.GetErrorCode());
        return 1;
    }
    std::printf("a %.4f, b %.4f, half die at %.4f\n", fit.Estimates()[0], fit.Estimates()[1],
                -fit.Estimates()[0] / fit.Estimates()[1]);
    return 0;
}
