// The record behind a "Coordinates" element.
#pragma once

#include "modelcore/modelcore_export.h"

#include <string>
#include <vector>

namespace MCXML_930 {

class XMLElement;

/// The values of one variable of a chart, and what they are.
struct MODELCORE_EXPORT MCXMLCoordinates {
    std::string fFeature;   ///< what the values are in the chart, for instance "observed" or "frequency"
    std::string fField;     ///< the field they come from; may be empty
    std::string fStatistic; ///< the statistic they are; may be empty
    /// One value a point; system-missing where there is none.
    std::vector<double> fValues;
    /// Names of the values, as of categories; when there are any, the element has them in place of the numbers.
    std::vector<std::string> fTexts = {};

    /// A new "Coordinates" element, owned by the caller.
    XMLElement* GetCoordinates() const;

    /// Writes the fields to the diagnostic text stream.
    void Display() const;
};

} // namespace MCXML_930
