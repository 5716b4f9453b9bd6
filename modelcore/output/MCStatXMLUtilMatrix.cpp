// Factories of StatXML elements: matrices and their labels.
#include "modelcore/output/MCStatXMLUtil.h"
#include "modelcore/output/internal/ElementBuilder.h"

namespace MCXML_930 {

using internal::ElementBuilder;

XMLElement* MCStatXMLUtil::CreateElemLabel(const std::string& label)
{
    return CreateElemLabel(label, nullptr);
}

XMLElement* MCStatXMLUtil::CreateElemLabel(const std::string& label, XMLElement* child)
{
    return ElementBuilder("Label").Attribute("label", label).Child(child).Release();
}

XMLElement* MCStatXMLUtil::CreateElemLabel(const std::string& label, const std::vector<XMLElement*>& covariates,
                                           const std::vector<XMLElement*>& factors)
{
    return ElementBuilder("Label").Attribute("label", label).Children(covariates).Children(factors).Release();
}

XMLElement* MCStatXMLUtil::CreateElemRowColLabels(const std::string& dimension)
{
    return CreateElemRowColLabels(dimension, nullptr);
}

XMLElement* MCStatXMLUtil::CreateElemRowColLabels(const std::string& dimension, XMLElement* label)
{
    return ElementBuilder("RowColLabels").Attribute("dimension", dimension).Child(label).Release();
}

XMLElement* MCStatXMLUtil::CreateElemRowColLabels(const std::string& dimension, const std::vector<XMLElement*>& labels)
{
    return ElementBuilder("RowColLabels").Attribute("dimension", dimension).Children(labels).Release();
}

XMLElement* MCStatXMLUtil::CreateElemMatrixLabels(const std::vector<XMLElement*>& rowColLabels)
{
    return ElementBuilder("MatrixLabels").Children(rowColLabels).Release();
}

XMLElement* MCStatXMLUtil::CreateElemSegmentInfo(XMLElement* indices)
{
    return ElementBuilder("SegmentInfo").Child(indices).Release();
}

XMLElement* MCStatXMLUtil::CreateElemSegmentInfo(const std::vector<XMLElement*>& indices)
{
    return ElementBuilder("SegmentInfo").Children(indices).Release();
}

XMLElement* MCStatXMLUtil::CreateElemIndices(XMLElement* array, const std::string& dimension)
{
    return ElementBuilder("Indices").Attribute("dimension", dimension).Child(array).Release();
}

XMLElement* MCStatXMLUtil::CreateElemSegmentData(XMLElement* info, XMLElement* values)
{
    return ElementBuilder("SegmentData").Child(info).Child(values).Release();
}

XMLElement* MCStatXMLUtil::CreateElemMatrix(XMLElement* labels, const std::vector<XMLElement*>& segments, XMLElement* a,
                                            XMLElement* b, unsigned int nbRows, unsigned int nbCols,
                                            const std::string& kind, bool symmetric)
{
    return ElementBuilder("Matrix")
        .Attribute("kind", kind)
        .Attribute("nbRows", nbRows)
        .Attribute("symmetric", symmetric)
        .Attribute("nbCols", nbCols)
        .Attribute("rowMajor", true)
        .Child(labels)
        .Children(segments)
        .Child(a)
        .Child(b)
        .Release();
}

} // namespace MCXML_930
