// StatXML: elements of documents of statistical results.
#include "StatXml.h"

#include <cmath>

namespace modelcore_python {

namespace {

using MCCommon_930::MCMV;
using MCXML_930::MCStatXMLUtil;
using MCXML_930::XMLElement;
using MCXML_930::XMLString;

/// Numbers with the library's mark for what is missing.
std::vector<double> Marked(std::vector<double> values)
{
    for (double& x : values)
        if (std::isnan(x)) x = MCMV::Missing();
    return values;
}

bool IsText(nb::handle values)
{
    return nb::isinstance<nb::list>(values) && nb::len(values) > 0 && nb::isinstance<nb::str>(values[nb::int_(0)]);
}

XMLElement* ArrayElement(nb::handle values)
{
    if (IsText(values)) return MCStatXMLUtil::CreateElemArray(nb::cast<std::vector<std::string>>(values));
    return MCStatXMLUtil::CreateElemArray(Marked(ToVector(values)));
}

XMLElement* Labels(const char* dimension, const std::vector<std::string>& labels)
{
    std::vector<XMLElement*> elements;
    for (const std::string& label : labels) elements.push_back(MCStatXMLUtil::CreateElemLabel(label));
    return MCStatXMLUtil::CreateElemRowColLabels(dimension, elements);
}

XMLElement* MatrixElement(nb::handle values, const std::vector<std::string>& rows,
                          const std::vector<std::string>& columns, const std::string& kind, bool symmetric)
{
    const Table table(values);
    const std::size_t n = table.NRows();
    const std::size_t p = table.NColumns();
    if (rows.size() != n || columns.size() != p) Refuse("one label for each row and column is needed");
    if (symmetric && n != p) Refuse("a symmetric matrix is square");
    std::vector<double> all(n * p);
    table.Read(0, n, all.data(), p);
    std::vector<double> written;
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < (symmetric ? i + 1 : p); ++j) written.push_back(all[i * p + j]);
    XMLElement* const labels = MCStatXMLUtil::CreateElemMatrixLabels({Labels("row", rows), Labels("column", columns)});
    return MCStatXMLUtil::CreateElemMatrix(labels, {}, MCStatXMLUtil::CreateElemArray(Marked(written)), nullptr,
                                           static_cast<unsigned>(n), static_cast<unsigned>(p), kind, symmetric);
}

} // namespace

void RegisterStatXml(nb::module_& m)
{
    nb::class_<Node>(m, "Element", "An element of a document.")
        .def(
            "append",
            [](nb::object self, Node& child) {
                const Node& parent = nb::cast<Node&>(self);
                if (child.tree->parent || parent.Element()->AddElement(child.Element()) != 0)
                    Refuse("the element has a parent already, or would hold itself");
                child.tree->parent = parent.tree;
                return self;
            },
            nb::arg("child"), nb::sig("def append(self, child: Element) -> Element"),
            "Adds a child; returns the parent.")
        .def(
            "text",
            [](nb::object self, const std::string& text) {
                nb::cast<Node&>(self).Element()->AddElement(XMLString::Create(text));
                return self;
            },
            nb::arg("text"), nb::sig("def text(self, text: str) -> Element"), "Adds text.")
        .def(
            "set",
            [](nb::object self, const std::string& name, const std::string& value) {
                nb::cast<Node&>(self).Element()->AddAttribute(name, value);
                return self;
            },
            nb::arg("name"), nb::arg("value"), nb::sig("def set(self, name: str, value: str) -> Element"),
            "Adds an attribute.")
        .def(
            "to_string",
            [](const Node& self, bool format) {
                std::ostringstream out;
                MCXML_930::WriteTreeUTF8(out, nullptr, self.Element(), format);
                return out.str();
            },
            nb::kw_only(), nb::arg("format") = true, "The document with this element as its root, in UTF-8.");

    m.def(
        "statxml_root", [] { return Node(MCStatXMLUtil::BuildRoot()); }, "The root of a document.");
    m.def(
        "statxml_element", [](const std::string& name) { return Node(XMLElement::Create(name)); }, nb::arg("name"),
        "An element of any name.");
    m.def(
        "statxml_structured_data",
        [](const std::string& text) { return Node(MCStatXMLUtil::CreateElemStructuredData(text)); },
        nb::arg("description"), "The frame of everything that belongs to one result.");
    m.def(
        "statxml_statistic",
        [](const std::string& name, nb::object value) {
            if (nb::isinstance<nb::str>(value))
                return Node(MCStatXMLUtil::CreateElemStatistic(name, nb::cast<std::string>(value)));
            return Node(MCStatXMLUtil::CreateElemStatistic(name, nb::cast<double>(value)));
        },
        nb::arg("name"), nb::arg("value"),
        nb::sig("def statxml_statistic(name: str, value: typing.Union[float, str]) -> Element"),
        "A statistic; NaN is written as missing.");
    m.def(
        "statxml_counts",
        [](double total, double missing, double invalid, double cardinality) {
            return Node(MCStatXMLUtil::CreateElemCounts(total, missing, invalid, cardinality));
        },
        nb::arg("total"), nb::arg("missing") = 0.0, nb::arg("invalid") = 0.0, nb::arg("cardinality") = 0.0,
        "Frequencies in all, missing and invalid, and the number of distinct values.");
    m.def(
        "statxml_coordinates",
        [](const std::string& feature, nb::object values, const std::string& field, const std::string& statistic) {
            if (IsText(values))
                return Node(MCStatXMLUtil::CreateElemCoordinates(feature, field, statistic,
                                                                 nb::cast<std::vector<std::string>>(values)));
            return Node(MCStatXMLUtil::CreateElemCoordinates(feature, field, statistic, Marked(ToVector(values))));
        },
        nb::arg("feature"), nb::arg("values"), nb::arg("field") = "", nb::arg("statistic") = "",
        nb::sig("def statxml_coordinates(feature: str, values: typing.Any, field: str = '', statistic: str = '') -> "
                "Element"),
        "The values of one variable of a chart.");
    m.def(
        "statxml_array", [](nb::object values) { return Node(ArrayElement(values)); }, nb::arg("values"),
        nb::sig("def statxml_array(values: typing.Any) -> Element"), "An array of numbers, or of a list of text.");
    m.def(
        "statxml_matrix",
        [](nb::object values, const std::vector<std::string>& rows, const std::vector<std::string>& columns,
           const std::string& kind,
           bool symmetric) { return Node(MatrixElement(values, rows, columns, kind, symmetric)); },
        nb::arg("values"), nb::arg("rows"), nb::arg("columns"), nb::arg("kind"), nb::arg("symmetric") = false,
        nb::sig(
            "def statxml_matrix(values: typing.Any, rows: list[str], columns: list[str], kind: str, symmetric: bool = "
            "False) -> Element"),
        "A labelled matrix; of a symmetric one the lower triangle is written.");
    m.def(
        "statxml_parameter",
        [](const std::string& name, bool isIntercept, const std::vector<std::string>& covariates) {
            std::vector<XMLElement*> elements;
            for (const std::string& field : covariates)
                elements.push_back(MCStatXMLUtil::CreateElemCovariate(field, 1));
            return Node(MCStatXMLUtil::CreateElemRegressionParameter(name, isIntercept, elements, {}));
        },
        nb::arg("name"), nb::arg("is_intercept") = false, nb::arg("covariates") = std::vector<std::string>(),
        "A model's parameter, the product of its covariates.");
}

} // namespace modelcore_python
