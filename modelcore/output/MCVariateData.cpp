// The data behind a "UnivariateData", "BivariateData" or "MultivariateData" element.
#include "modelcore/output/MCVariateData.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/output/MCStatXMLUtil.h"
#include "modelcore/xml/XMLElement.h"

#include <algorithm>
#include <cstdint>
#include <memory>

namespace MCXML_930 {

namespace {

/// Appends variables and statistics to an element, which is deleted if that does not come to an end.
XMLElement* Fill(XMLElement* created, const MCVariateData& data)
{
    std::unique_ptr<XMLElement> element(created);
    for (const MCXMLCoordinates& variable : data.fVariables) element->AddElement(variable.GetCoordinates());
    for (const auto& [name, value] : data.fStatistics)
        element->AddElement(MCStatXMLUtil::CreateElemStatistic(name, value));
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
    for (std::int64_t i = std::max(first, 0); i < end; ++i)
        element->AddElement(coordinates[static_cast<std::size_t>(i)].GetCoordinates());
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
