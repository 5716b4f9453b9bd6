// Factories of StatXML elements: the document, counts and statistics, model parameters.
#include "modelcore/output/MCStatXMLUtil.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/output/internal/ElementBuilder.h"

#include <cmath>

namespace MCXML_930 {

using internal::ElementBuilder;

namespace {

constexpr char kNamespace[] = "http://modelcore.example/software/analytics/tavo/xml/extension";

} // namespace

XMLElement* MCStatXMLUtil::BuildRoot()
{
    return ElementBuilder("StatXML")
        .Attribute("xmlns", kNamespace)
        .Attribute("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance")
        .Attribute("version", "1.0")
        .Attribute("xsi:schemaLocation", std::string(kNamespace) + "/StatXML_7.0.xsd")
        .Release();
}

XMLElement* MCStatXMLUtil::CreateElemStructuredData(const std::string& description)
{
    return CreateElem("StructuredData", "description", description);
}

XMLElement* MCStatXMLUtil::CreateElem(const std::string& name, const std::string& attribute, double value)
{
    return ElementBuilder(name).Attribute(attribute, value).Release();
}

XMLElement* MCStatXMLUtil::CreateElem(const std::string& name, const std::string& attribute, const std::string& value)
{
    return ElementBuilder(name).Attribute(attribute, value).Release();
}

XMLElement* MCStatXMLUtil::CreateElem(const std::string& name, const std::string& attribute1, const std::string& value1,
                                      const std::string& attribute2, const std::string& value2)
{
    return ElementBuilder(name).Attribute(attribute1, value1).Attribute(attribute2, value2).Release();
}

XMLElement* MCStatXMLUtil::CreateElemCounts(double total, double missing, double invalid, double cardinality)
{
    return ElementBuilder("Counts")
        .Attribute("totalFreq", total)
        .Attribute("missingFreq", missing)
        .Attribute("invalidFreq", invalid)
        .Attribute("cardinality", cardinality)
        .Release();
}

XMLElement* MCStatXMLUtil::CreateElemCounts(const MCXMLCounts& counts)
{
    return CreateElemCounts(counts.fTotalFreq, counts.fMissingFreq, counts.fInvalidFreq, counts.fCardinality);
}

XMLElement* MCStatXMLUtil::CreateElemStatistic(const std::string& name, double value)
{
    const double known = std::isnan(value) ? MCCommon_930::MCMV::Missing() : value;
    return ElementBuilder("Statistic").Attribute("name", name).Attribute("value", known).Release();
}

XMLElement* MCStatXMLUtil::CreateElemStatistic(const std::string& name, const std::string& value)
{
    return CreateElem("Statistic", "name", name, "value", value);
}

XMLElement* MCStatXMLUtil::CreateElemCovariate(const std::string& field, int power)
{
    return ElementBuilder("Covariate").Attribute("field", field).Attribute("power", power).Release();
}

XMLElement* MCStatXMLUtil::CreateElemFactor(const std::string& field, double value, bool nest)
{
    return ElementBuilder("Factor")
        .Attribute("field", field)
        .Attribute("value", value)
        .Attribute("nest", nest)
        .Release();
}

XMLElement* MCStatXMLUtil::CreateElemFactor(const std::string& field, const std::string& value, bool nest)
{
    return ElementBuilder("Factor")
        .Attribute("field", field)
        .Attribute("value", value)
        .Attribute("nest", nest)
        .Release();
}

XMLElement* MCStatXMLUtil::CreateElemRegressionParameter(const std::string& name, bool isIntercept)
{
    return CreateElemRegressionParameter(name, isIntercept, {}, {});
}

XMLElement* MCStatXMLUtil::CreateElemRegressionParameter(const std::string& name, bool isIntercept,
                                                         const std::vector<XMLElement*>& covariates,
                                                         const std::vector<XMLElement*>& factors)
{
    return ElementBuilder("RegressionParameter")
        .Attribute("name", name)
        .Attribute("isIntercept", isIntercept)
        .Children(covariates)
        .Children(factors)
        .Release();
}

} // namespace MCXML_930
