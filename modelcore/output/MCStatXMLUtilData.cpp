// Factories of StatXML elements: chart data and records.
#include "modelcore/output/MCStatXMLUtil.h"
#include "modelcore/output/internal/ElementBuilder.h"

namespace MCXML_930 {

using internal::ElementBuilder;

namespace {

template <class Rows>
XMLElement* RecordInfo(const std::string& recordId, const std::string& recordLabel, const Rows& rows)
{
    ElementBuilder builder("RecordInfo");
    builder.Attribute("recordId", recordId).Attribute("recordLabel", recordLabel);
    for (const auto& row : rows) builder.Child(MCStatXMLUtil::CreateElemArray(row));
    return builder.Release();
}

} // namespace

XMLElement* MCStatXMLUtil::CreateElemUnivarData(const std::string& description)
{
    return CreateElem("UnivariateData", "description", description);
}

XMLElement* MCStatXMLUtil::CreateElemBivarData(const std::string& description)
{
    return CreateElem("BivariateData", "description", description);
}

XMLElement* MCStatXMLUtil::CreateElemMultivariateData(const std::string& description)
{
    return CreateElem("MultivariateData", "description", description);
}

XMLElement* MCStatXMLUtil::CreateElemVarData(const MCVariateData& data)
{
    if (data.fVariables.size() < 2) return data.GetUnivariateDataElem();
    return data.fVariables.size() == 2 ? data.GetBivariateDataElem() : data.GetMultiVariateDataElem();
}

XMLElement* MCStatXMLUtil::CreateElemCoordinates(const MCXMLCoordinates& coordinates)
{
    const auto& [feature, field, statistic, values, texts] = coordinates;
    return texts.empty() ? CreateElemCoordinates(feature, field, statistic, values)
                         : CreateElemCoordinates(feature, field, statistic, texts);
}

XMLElement* MCStatXMLUtil::CreateElemCoordinatesGroup(XMLElement* first, const std::vector<XMLElement*>& rest,
                                                      const std::string& description)
{
    return ElementBuilder("CoordinatesGroup")
        .Attribute("description", description)
        .Child(first)
        .Children(rest)
        .Release();
}

XMLElement* MCStatXMLUtil::CreateElemCoordinatesGroup(const MCXMLCoordinatesGroup& group)
{
    ElementBuilder builder("CoordinatesGroup");
    builder.Attribute("description", group.fDescription);
    for (const MCXMLCoordinates& coordinates : group.fCoordinates) builder.Child(coordinates.GetCoordinates());
    return builder.Release();
}

XMLElement* MCStatXMLUtil::CreateElemRecordInfo(const std::string& recordId, const std::string& recordLabel,
                                                const std::vector<std::vector<double>>& rows)
{
    return RecordInfo(recordId, recordLabel, rows);
}

XMLElement* MCStatXMLUtil::CreateElemRecordInfo(const std::string& recordId, const std::string& recordLabel,
                                                const std::vector<std::vector<int>>& rows)
{
    return RecordInfo(recordId, recordLabel, rows);
}

XMLElement* MCStatXMLUtil::CreateElemRecordInfo(const MCXMLRecordInfo& record)
{
    return RecordInfo(record.fRecordId, record.fRecordLabel, record.fRows);
}

void MCStatXMLUtil::AddRecordInfos(XMLElement& element, const std::vector<MCXMLRecordInfo>& records)
{
    internal::ElementsToAdd added(records.size());
    for (const MCXMLRecordInfo& record : records) added.Add(CreateElemRecordInfo(record));
    added.MoveTo(element);
}

XMLElement* MCStatXMLUtil::CreateElemFieldInfo(const std::string& fieldName, double value, bool isNull)
{
    return ElementBuilder("FieldInfo")
        .Attribute("fieldName", fieldName)
        .Attribute("fieldValue", value)
        .Attribute("isNull", isNull)
        .Release();
}

XMLElement* MCStatXMLUtil::CreateElemFieldInfo(const std::string& fieldName, const std::string& value, bool isNull)
{
    return ElementBuilder("FieldInfo")
        .Attribute("fieldName", fieldName)
        .Attribute("fieldValue", value)
        .Attribute("isNull", isNull)
        .Release();
}

} // namespace MCXML_930
