// The record behind a "Counts" element.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCXML_930 {

/// Frequencies of a field: in all, of missing and of invalid values; and its number of distinct values.
struct MODELCORE_EXPORT MCXMLCounts {
    /// All cases.
    double fTotalFreq = 0.0;
    /// Cases with a missing value.
    double fMissingFreq = 0.0;
    /// Cases with a value that is none of the field's.
    double fInvalidFreq = 0.0;
    /// Distinct values.
    double fCardinality = 0.0;

    /// Writes the fields to the diagnostic text stream.
    void Display() const;
};

} // namespace MCXML_930
