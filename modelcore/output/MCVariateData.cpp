// The data behind a "UnivariateData", "BivariateData" or "MultivariateData" element.
#include "modelcore/output/MCVariateData.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/output/MCStatXMLUtil.h"
#include "modelcore/output/internal/ElementBuilder.h"
#include "modelcore/xml/XMLElement.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

namespace MCXML_930 {

namespace {

/// Appends variables and statistics to an element, which is deleted if that does not come to an end.
XMLElement* Fill(XMLElement* created, const MCVariateData& data)
{
    std::unique_ptr<XMLElement> element(created);
    for (const MCXMLCoordinates& variable : data.fVariables) element->AddElement(variable.GetCoordinates());
    // The values of a chart are finite; a mean or a deviation of them that is not has left the range of a double.
    for (const auto& [name, value] : data.fStatistics)
        element->AddElement(
            MCStatXMLUtil::CreateElemStatistic(name, std::isfinite(value) ? value : MCCommon_930::MCMV::Missing()));
    return element.release();
}

} // namespace

XMLElement* MCVariateData::GetUnivariateDataElem() const
{
    return Fill(MCStatXMLUtil::CreateElemUnivarData(fDescription), *this);
}

XMLElement* MCVariateData::GetBivariateDataElem() const
{
    return Fill(MCStatXMLUtil::CreateElemBivarData(fDescription), *this);
}

XMLElement* MCVariateData::GetMultiVariateDataElem() const
{
    return Fill(MCStatXMLUtil::CreateElemMultivariateData(fDescription), *this);
}

void MCVariateData::AddCoordinatesToVarData(XMLElement* element, const std::vector<MCXMLCoordinates>& coordinates,
                                            int first, int count)
{
    if (element == nullptr) return;
    const auto size = static_cast<std::int64_t>(coordinates.size());
    const std::int64_t end = std::min(std::int64_t{first} + count, size);
    const std::int64_t begin = std::max(first, 0);
    internal::ElementsToAdd added(static_cast<std::size_t>(std::max<std::int64_t>(end - begin, 0)));
    for (std::int64_t i = begin; i < end; ++i) added.Add(coordinates[static_cast<std::size_t>(i)].GetCoordinates());
    added.MoveTo(*element);
}

void MCVariateData::Display() const
{
    MCDisplay_930::DisplayStart("MCVariateData");
    MCDisplay_930::Display("Description", fDescription);
    for (const MCXMLCoordinates& variable : fVariables) variable.Display();
    for (const auto& [name, value] : fStatistics) MCDisplay_930::Display(name, value);
    MCDisplay_930::DisplayEnd("MCVariateData");
}

} // namespace MCXML_930
