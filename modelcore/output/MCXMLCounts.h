// The record behind a "Counts" element.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCXML_930 {

/// Frequencies of a field: in all, of missing and of invalid values; and its number of distinct values.
struct MODELCORE_EXPORT MCXMLCounts {
    double fTotalFreq = 0.0;
    double fMissingFreq = 0.0;
    double fInvalidFreq = 0.0;
    double fCardinality = 0.0;

    /// Writes the fields to the diagnostic text stream.
    void Display() const;
};

} // namespace MCXML_930
