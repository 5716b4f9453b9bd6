// The record behind a "CoordinatesGroup" element.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCXMLCoordinates.h"

#include <string>
#include <vector>

namespace MCXML_930 {

/// Coordinates that belong together, for instance one line of a chart.
struct MODELCORE_EXPORT MCXMLCoordinatesGroup {
    /// What the group is.
    std::string fDescription;
    /// Its members, in the order in which they are written.
    std::vector<MCXMLCoordinates> fCoordinates;

    /// A new "CoordinatesGroup" element, owned by the caller.
    XMLElement* GetCoordinatesGroup() const;

    /// Writes the fields to the diagnostic text stream.
    void Display() const;
};

} // namespace MCXML_930
