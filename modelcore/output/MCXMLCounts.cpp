// The record behind a "Counts" element.
#include "modelcore/output/MCXMLCounts.h"

#include "modelcore/common/MCDisplay.h"

namespace MCXML_930 {

void MCXMLCounts::Display() const
{
    MCDisplay_930::DisplayStart("MCXMLCounts");
    MCDisplay_930::Display("Total frequency", fTotalFreq);
    MCDisplay_930::Display("Missing frequency", fMissingFreq);
    MCDisplay_930::Display("Invalid frequency", fInvalidFreq);
    MCDisplay_930::Display("Cardinality", fCardinality);
    MCDisplay_930::DisplayEnd("MCXMLCounts");
}

} // namespace MCXML_930
