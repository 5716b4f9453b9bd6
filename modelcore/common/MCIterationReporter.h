// The progress report of an iterative fitting procedure.
#pragma once

#include "modelcore/common/ProgressReportVect.h"
#include "modelcore/modelcore_export.h"

#include <string>
#include <vector>

namespace MCMath_930 {

/// Where an iterative procedure has got to. The procedure calls SetInfo in each iteration; the application asks by key:
///
///     DiscreteMeasure  "iterNum"  "stepHalving"
///     ScaleMeasure     "loglik"   "time"
///     VectorMeasure    "paramEstim"  "paramEstim2"  "paramEstim3"
///
/// The parameter vectors belong to the procedure: only their addresses are kept, so they must live until the next
/// SetInfo or Reset, and what they show is their content when they are read. All fields are zero or null at first.
class MODELCORE_EXPORT MCIterationReporter : public MCCommon_930::ProgressReportVect {
public:
    MCIterationReporter() = default;
    MCIterationReporter(const MCIterationReporter&) = default;
    MCIterationReporter& operator=(const MCIterationReporter&) = default;
    ~MCIterationReporter() override;

    /// Sets the first vector and the four numbers; the second and third vector stay as they are.
    ///
    /// @param estimates      the current estimates, may be null
    /// @param iteration      number of the iteration
    /// @param stepHalvings   step halvings made in this iteration
    /// @param logLik         the criterion, as it is to be shown: it is never scaled here
    /// @param seconds        elapsed time
    void SetInfo(const std::vector<double>* estimates, int iteration, int stepHalvings, double logLik, double seconds);

    /// Sets the three vectors (each may be null), iteration, criterion and time; the step halvings stay as they are.
    void SetInfo(const std::vector<double>* e1, const std::vector<double>* e2, const std::vector<double>* e3,
                 int iteration, double logLik, double seconds);

    int DiscreteMeasure(const std::string& key) const override;
    double ScaleMeasure(const std::string& key) const override;
    const std::vector<double>* VectorMeasure(const std::string& key) const override;

    /// Back to zeroes and null pointers.
    virtual void Reset();

    /// Writes the report to the diagnostic text stream.
    virtual void Display() const;

private:
    const std::vector<double>* fpEstimates = nullptr;
    const std::vector<double>* fpEstimates2 = nullptr;
    const std::vector<double>* fpEstimates3 = nullptr;
    int fnIteration = 0;
    int fnStepHalvings = 0;
    double fLogLik = 0.0;
    double fSeconds = 0.0;
};

} // namespace MCMath_930
