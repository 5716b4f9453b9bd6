// Progress reporting with vector measures.
#pragma once

#include "modelcore/common/ProgressReport.h"
#include "modelcore/modelcore_export.h"

#include <string>
#include <vector>

namespace MCCommon_930 {

/// A progress report that can also be asked for vectors, such as the current parameter estimates.
class MODELCORE_EXPORT ProgressReportVect : public ProgressReport {
public:
    ~ProgressReportVect() override = default;

    /// A vector measure, owned by the computation; null for an unknown key.
    virtual const std::vector<double>* VectorMeasure(const std::string& key) const = 0;

protected:
    ProgressReportVect() = default;
    ProgressReportVect(const ProgressReportVect&) = default;
    ProgressReportVect& operator=(const ProgressReportVect&) = default;
};

} // namespace MCCommon_930
