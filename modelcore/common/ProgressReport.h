// The roots of progress reporting.
#pragma once

#include "modelcore/modelcore_export.h"

#include <string>

namespace MCCommon_930 {

/// What an application can ask a running computation about its progress, by key. Keys are compared as whole strings,
/// case-sensitively. The virtual operations stand in the order of the binary interface.
class MODELCORE_EXPORT ProgressReport {
public:
    virtual ~ProgressReport() = default;

    /// An integer measure; -1 for an unknown key.
    virtual int DiscreteMeasure(const std::string& key) const = 0;

    /// A real measure; system-missing for an unknown key.
    virtual double ScaleMeasure(const std::string& key) const = 0;

protected:
    ProgressReport() = default;
    ProgressReport(const ProgressReport&) = default;
    ProgressReport& operator=(const ProgressReport&) = default;
};

} // namespace MCCommon_930
