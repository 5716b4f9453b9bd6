// The record behind a "Coordinates" element.
#include "modelcore/output/MCXMLCoordinates.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/output/MCStatXMLUtil.h"

namespace MCXML_930 {

XMLElement* MCXMLCoordinates::GetCoordinates() const
{
    return MCStatXMLUtil::CreateElemCoordinates(*this);
}

void MCXMLCoordinates::Display() const
{
    MCDisplay_930::DisplayStart("MCXMLCoordinates");
    MCDisplay_930::Display("Feature", fFeature);
    MCDisplay_930::Display("Field", fField);
    MCDisplay_930::Display("Statistic", fStatistic);
    MCDisplay_930::Display("Values", fValues);
    for (const std::string& text : fTexts) MCDisplay_930::Display("Text", text);
    MCDisplay_930::DisplayEnd("MCXMLCoordinates");
}

} // namespace MCXML_930
