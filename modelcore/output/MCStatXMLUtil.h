// Factories of the elements of a StatXML document.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCVariateData.h"
#include "modelcore/output/MCXMLCoordinates.h"
#include "modelcore/output/MCXMLCoordinatesGroup.h"
#include "modelcore/output/MCXMLCounts.h"
#include "modelcore/output/MCXMLRecordInfo.h"

#include <string>
#include <vector>

namespace MCXML_930 {

class XMLElement;

/// Static functions that build the elements of a StatXML document, a document of statistical results: single
/// statistics, value lists, labelled matrices, model parameters and chart data.
///
/// Each CreateElem function returns a new element, owned by the caller until it is added to a parent. Elements handed
/// to a factory become children of the new element in the order of the arguments, those of a vector in its order; null
/// pointers are skipped, and an element that already has a parent stays there. Of a pointer with a count, a count of
/// zero or less means an empty list. Numbers have at most 15 significant digits, in value lists too, and the
/// system-missing value is "__MISSING__" wherever it stands.
class MODELCORE_EXPORT MCStatXMLUtil {
public:
    // Document

    /// The root, "StatXML", with the namespaces, the version and the place of the schema.
    static XMLElement* BuildRoot();
    /// A "StructuredData" element, the frame of everything that belongs to one result.
    static XMLElement* CreateElemStructuredData(const std::string& description);
    /// An element of any name with one attribute, or with two.
    static XMLElement* CreateElem(const std::string& name, const std::string& attribute, double value);
    static XMLElement* CreateElem(const std::string& name, const std::string& attribute, const std::string& value);
    static XMLElement* CreateElem(const std::string& name, const std::string& attribute1, const std::string& value1,
                                  const std::string& attribute2, const std::string& value2);

    // Counts and statistics

    /// A "Counts" element: frequencies in all, missing and invalid, and the number of distinct values.
    static XMLElement* CreateElemCounts(double total, double missing, double invalid, double cardinality);
    static XMLElement* CreateElemCounts(const MCXMLCounts& counts);
    /// A "Statistic" element. One that does not exist, system-missing or NaN, has the value "__MISSING__".
    static XMLElement* CreateElemStatistic(const std::string& name, double value);
    static XMLElement* CreateElemStatistic(const std::string& name, const std::string& value);

    // Value lists

    /// A "Coordinates" element with its values as a list. An empty field or statistic gives no attribute.
    static XMLElement* CreateElemCoordinates(const std::string& feature, const std::string& field,
                                             const std::string& statistic, const double* values, int count);
    static XMLElement* CreateElemCoordinates(const std::string& feature, const std::string& field,
                                             const std::string& statistic, const std::vector<double>& values);
    static XMLElement* CreateElemCoordinates(const std::string& feature, const std::string& field,
                                             const std::string& statistic, const int* values, int count);
    static XMLElement* CreateElemCoordinates(const std::string& feature, const std::string& field,
                                             const std::string& statistic, const std::vector<int>& values);
    static XMLElement* CreateElemCoordinates(const std::string& feature, const std::string& field,
                                             const std::string& statistic, const std::string* values, int count);
    static XMLElement* CreateElemCoordinates(const std::string& feature, const std::string& field,
                                             const std::string& statistic, const std::vector<std::string>& values);
    static XMLElement* CreateElemCoordinates(const MCXMLCoordinates& coordinates);

    /// An "Array" element of type "real", "int" or "string". Strings are quoted: see ReplaceSpecialChar.
    static XMLElement* CreateElemArray(const double* values, int count);
    static XMLElement* CreateElemArray(const std::vector<double>& values);
    static XMLElement* CreateElemArray(const int* values, int count);
    static XMLElement* CreateElemArray(const std::vector<int>& values);
    static XMLElement* CreateElemArray(const std::string* values, int count);
    static XMLElement* CreateElemArray(const std::vector<std::string>& values);
    /// A string array of count items that are all equal to item.
    static XMLElement* CreateElemArray(const std::string& item, int count);

    /// Appends the values to the element as one text, separated by single blanks; nothing when there are none.
    static void AddDoublesList(XMLElement& element, const double* values, int count);
    static void AddDoublesList(XMLElement& element, const std::vector<double>& values);
    /// As AddDoublesList, but each integer has one significant digit: 0 to 9 as they are, 10 as 1e+01, 15 as 2e+01.
    /// Readers of such lists rely on it; integers that must be exact belong into a list of doubles.
    static void AddIntList(XMLElement& element, const int* values, int count);
    static void AddIntList(XMLElement& element, const std::vector<int>& values);
    /// Appends the strings to the element as one text, separated by single blanks and not quoted.
    static void AddStringList(XMLElement& element, const std::string& value);
    static void AddStringList(XMLElement& element, const std::string* values, int count);
    static void AddStringList(XMLElement& element, const std::vector<std::string>& values);

    /// An item of a string array between its quotes: a backslash before each double quote and each backslash, which are
    /// characters of the process's code page and not parts of others. The items of an array are put between double
    /// quotes and separated by one blank.
    static std::string ReplaceSpecialChar(const std::string& item);

    // Chart data and records

    /// An element for the data of a chart of one, two or more variables, without the data.
    static XMLElement* CreateElemUnivarData(const std::string& description);
    /// An element for the data of a chart of two variables, without the data.
    static XMLElement* CreateElemBivarData(const std::string& description);
    /// An element for the data of a chart of more variables, without the data.
    static XMLElement* CreateElemMultivariateData(const std::string& description);
    /// The whole data of a chart: "UnivariateData" for no or one variable, "BivariateData" for two, "MultivariateData"
    /// for more.
    static XMLElement* CreateElemVarData(const MCVariateData& data);
    /// A "CoordinatesGroup" element: coordinates that belong together.
    static XMLElement* CreateElemCoordinatesGroup(XMLElement* first, const std::vector<XMLElement*>& rest,
                                                  const std::string& description);
    static XMLElement* CreateElemCoordinatesGroup(const MCXMLCoordinatesGroup& group);
    /// A "RecordInfo" element: values of one record, an "Array" for each row.
    static XMLElement* CreateElemRecordInfo(const std::string& recordId, const std::string& recordLabel,
                                            const std::vector<std::vector<double>>& rows);
    static XMLElement* CreateElemRecordInfo(const std::string& recordId, const std::string& recordLabel,
                                            const std::vector<std::vector<int>>& rows);
    static XMLElement* CreateElemRecordInfo(const MCXMLRecordInfo& record);
    /// Appends a "RecordInfo" element for each record to the element; none when memory runs out.
    static void AddRecordInfos(XMLElement& element, const std::vector<MCXMLRecordInfo>& records);
    /// A "FieldInfo" element: the value of one field, and whether it is null.
    static XMLElement* CreateElemFieldInfo(const std::string& fieldName, double value, bool isNull);
    static XMLElement* CreateElemFieldInfo(const std::string& fieldName, const std::string& value, bool isNull);

    // Model parameters

    /// A "Covariate" element: a numeric field raised to a power.
    static XMLElement* CreateElemCovariate(const std::string& field, int power);
    /// A "Factor" element: a level of a categorical field; nest tells that the parameter is nested in it.
    static XMLElement* CreateElemFactor(const std::string& field, double value, bool nest);
    static XMLElement* CreateElemFactor(const std::string& field, const std::string& value, bool nest);
    /// A "RegressionParameter" element, the product of its covariates and factors.
    static XMLElement* CreateElemRegressionParameter(const std::string& name, bool isIntercept);
    static XMLElement* CreateElemRegressionParameter(const std::string& name, bool isIntercept,
                                                     const std::vector<XMLElement*>& covariates,
                                                     const std::vector<XMLElement*>& factors);

    // Matrices

    /// A "Label" of a row or column, with what it stands for if that is given.
    static XMLElement* CreateElemLabel(const std::string& label);
    static XMLElement* CreateElemLabel(const std::string& label, XMLElement* child);
    static XMLElement* CreateElemLabel(const std::string& label, const std::vector<XMLElement*>& covariates,
                                       const std::vector<XMLElement*>& factors);
    /// A "RowColLabels" element: the labels along one dimension, "row" or "column".
    static XMLElement* CreateElemRowColLabels(const std::string& dimension);
    static XMLElement* CreateElemRowColLabels(const std::string& dimension, XMLElement* label);
    static XMLElement* CreateElemRowColLabels(const std::string& dimension, const std::vector<XMLElement*>& labels);
    /// A "MatrixLabels" element: the labels of the dimensions.
    static XMLElement* CreateElemMatrixLabels(const std::vector<XMLElement*>& rowColLabels);
    /// A "SegmentInfo" element: which rows and columns of a matrix a segment holds.
    static XMLElement* CreateElemSegmentInfo(XMLElement* indices);
    static XMLElement* CreateElemSegmentInfo(const std::vector<XMLElement*>& indices);
    /// An "Indices" element: numbers of rows or columns, counted from 0, in an "Array".
    static XMLElement* CreateElemIndices(XMLElement* array, const std::string& dimension);
    /// A "SegmentData" element: usually a "SegmentInfo" element and the "Array" of its values.
    static XMLElement* CreateElemSegmentData(XMLElement* info, XMLElement* values);
    /// A "Matrix" element. Its values are row by row; those of a symmetric matrix are the lower triangle with the
    /// diagonal.
    ///
    /// @param labels    a "MatrixLabels" element
    /// @param segments  "SegmentData" elements, when only parts of the matrix are given
    /// @param a, b      what follows them: usually the "Array" of all values as a, nothing as b
    /// @param kind      what the values are, for instance "covariance"
    static XMLElement* CreateElemMatrix(XMLElement* labels, const std::vector<XMLElement*>& segments, XMLElement* a,
                                        XMLElement* b, unsigned int nbRows, unsigned int nbCols,
                                        const std::string& kind, bool symmetric);
};

} // namespace MCXML_930
