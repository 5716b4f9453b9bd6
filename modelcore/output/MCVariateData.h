// The data behind a "UnivariateData", "BivariateData" or "MultivariateData" element.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCXMLCoordinates.h"

#include <string>
#include <utility>
#include <vector>

namespace MCXML_930 {

/// The data of one chart: its variables, each named by its feature, and statistics of the whole.
struct MODELCORE_EXPORT MCVariateData {
    /// What the chart shows.
    std::string fDescription;
    std::vector<MCXMLCoordinates> fVariables;                ///< as many values in each as the chart has points
    std::vector<std::pair<std::string, double>> fStatistics; ///< names and values

    /// A new element of that name, owned by the caller: a "Coordinates" element for each variable, then a "Statistic"
    /// element for each statistic, with the value "__MISSING__" for one that is not finite. The number of variables is
    /// not looked at; MCStatXMLUtil::CreateElemVarData does.
    XMLElement* GetUnivariateDataElem() const;
    /// The same as a "BivariateData" element.
    XMLElement* GetBivariateDataElem() const;
    /// The same as a "MultivariateData" element.
    XMLElement* GetMultiVariateDataElem() const;

    /// Appends to element the "Coordinates" elements of count coordinates from number first on; of a range that goes
    /// beyond either end, the part that there is. Null appends nothing.
    static void AddCoordinatesToVarData(XMLElement* element, const std::vector<MCXMLCoordinates>& coordinates,
                                        int first, int count);

    /// Writes the fields to the diagnostic text stream.
    void Display() const;
};

} // namespace MCXML_930
