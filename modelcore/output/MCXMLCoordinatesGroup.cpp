// The record behind a "CoordinatesGroup" element.
#include "modelcore/output/MCXMLCoordinatesGroup.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/output/MCStatXMLUtil.h"

namespace MCXML_930 {

XMLElement* MCXMLCoordinatesGroup::GetCoordinatesGroup() const
{
    return MCStatXMLUtil::CreateElemCoordinatesGroup(*this);
}

void MCXMLCoordinatesGroup::Display() const
{
    MCDisplay_930::DisplayStart("MCXMLCoordinatesGroup");
    MCDisplay_930::Display("Description", fDescription);
    for (const MCXMLCoordinates& coordinates : fCoordinates) coordinates.Display();
    MCDisplay_930::DisplayEnd("MCXMLCoordinatesGroup");
}

} // namespace MCXML_930
