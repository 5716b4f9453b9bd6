// The record behind a "RecordInfo" element.
#include "modelcore/output/MCXMLRecordInfo.h"

#include "modelcore/common/MCDisplay.h"

namespace MCXML_930 {

void MCXMLRecordInfo::Display() const
{
    MCDisplay_930::DisplayStart("MCXMLRecordInfo");
    MCDisplay_930::Display("Record id", fRecordId);
    MCDisplay_930::Display("Record label", fRecordLabel);
    for (const std::vector<double>& row : fRows) MCDisplay_930::Display("Row", row);
    MCDisplay_930::DisplayEnd("MCXMLRecordInfo");
}

} // namespace MCXML_930
