// Factories of the elements of a StatXML document.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCXMLCounts.h"

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
/// zero or less means an empty list. Numbers have at most 15 significant digits, in value lists too.
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
    /// A "Statistic" element. The system-missing value is written as a number.
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
    /// The system-missing value is written as "__MISSING__".
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

    /// An item of a string array between its quotes: a backslash before each double quote and each backslash. The items
    /// of an array are put between double quotes and separated by one blank.
    static std::string ReplaceSpecialChar(const std::string& item);

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
    /// A "Matrix" element, whose value lists are row by row.
    ///
    /// @param labels     a "MatrixLabels" element or null
    /// @param segments   "SegmentInfo" elements, the parts of a matrix of which not all is stored
    /// @param a, b       what follows them, usually an "Array" of the values; each may be null
    /// @param kind       what the values are, for instance "covariance"
    /// @param symmetric  true when only the lower triangle is given
    static XMLElement* CreateElemMatrix(XMLElement* labels, const std::vector<XMLElement*>& segments, XMLElement* a,
                                        XMLElement* b, unsigned int nbRows, unsigned int nbCols,
                                        const std::string& kind, bool symmetric);
};

} // namespace MCXML_930
