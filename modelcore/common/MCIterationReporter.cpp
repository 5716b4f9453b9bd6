// MCIterationReporter.
#include "modelcore/common/MCIterationReporter.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"

namespace MCMath_930 {

MCIterationReporter::~MCIterationReporter() = default;

void MCIterationReporter::SetInfo(const std::vector<double>* estimates, int iteration, int stepHalvings, double logLik,
                                  double seconds)
{
    fpEstimates = estimates;
    fnIteration = iteration;
    fnStepHalvings = stepHalvings;
    fLogLik = logLik;
    fSeconds = seconds;
}

void MCIterationReporter::SetInfo(const std::vector<double>* e1, const std::vector<double>* e2,
                                  const std::vector<double>* e3, int iteration, double logLik, double seconds)
{
    fpEstimates = e1;
    fpEstimates2 = e2;
    fpEstimates3 = e3;
    fnIteration = iteration;
    fLogLik = logLik;
    fSeconds = seconds;
}

int MCIterationReporter::DiscreteMeasure(const std::string& key) const
{
    if (key == "iterNum") return fnIteration;
    if (key == "stepHalving") return fnStepHalvings;
    return -1;
}

double MCIterationReporter::ScaleMeasure(const std::string& key) const
{
    if (key == "loglik") return fLogLik;
    if (key == "time") return fSeconds;
    return MCCommon_930::MCMV::Missing();
}

const std::vector<double>* MCIterationReporter::VectorMeasure(const std::string& key) const
{
    if (key == "paramEstim") return fpEstimates;
    if (key == "paramEstim2") return fpEstimates2;
    if (key == "paramEstim3") return fpEstimates3;
    return nullptr;
}

void MCIterationReporter::Reset()
{
    SetInfo(nullptr, nullptr, nullptr, 0, 0.0, 0.0);
    fnStepHalvings = 0;
}

void MCIterationReporter::Display() const
{
    MCDisplay_930::DisplayStart("MCIterationReporter");
    MCDisplay_930::Display("Iteration number", fnIteration);
    MCDisplay_930::Display("Number of step halving", fnStepHalvings);
    MCDisplay_930::Display("Pseudo -2 log-likelihood", fLogLik);
    MCDisplay_930::Display("Elapsed time in sec", fSeconds);
    if (fpEstimates != nullptr)
        MCDisplay_930::Display("Parameter estimates", *fpEstimates);
    else
        MCDisplay_930::DisplayLine("Parameter estimates pointer is 0");
    if (fpEstimates2 != nullptr) MCDisplay_930::Display("Parameter estimates, second vector", *fpEstimates2);
    if (fpEstimates3 != nullptr) MCDisplay_930::Display("Parameter estimates, third vector", *fpEstimates3);
    MCDisplay_930::DisplayEnd("MCIterationReporter");
}

} // namespace MCMath_930
