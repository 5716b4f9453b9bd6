// Regression models as PMML documents.
#include "Common.h"

namespace modelcore_python {

namespace {

using namespace MCXML_930;
using MCCommon_930::Value;

Value Label(nb::handle x)
{
    if (PyBool_Check(x.ptr())) return Value(nb::cast<bool>(x));
    if (PyLong_Check(x.ptr())) return Value(nb::cast<long long>(x));
    if (PyUnicode_Check(x.ptr())) return Value(nb::cast<std::string>(x));
    return Value(nb::cast<double>(x));
}

std::string RegressionPmml(const std::vector<std::string>& fields, const std::string& target, ArrayLike coefficients,
                           nb::list categories, const std::string& application, const std::string& version)
{
    const Table table(coefficients);
    const std::size_t terms = fields.size() + 1;
    if (table.NColumns() != terms) Refuse("one coefficient for the intercept and for each field is needed");
    std::vector<double> b(table.NRows() * terms);
    table.Read(0, table.NRows(), b.data(), terms);

    MCVariableList variables;
    MCPMMLRegression model;
    model.target = target;
    model.terms.emplace_back("(Intercept)");
    for (const std::string& field : fields) {
        if (variables.Add(MCContinuousVariable(field)) < 0) Refuse("two fields have the name '" + field + "'");
        model.terms.push_back(MCPMMLTerm(field).TimesField(field));
    }
    const bool isNumber = nb::len(categories) == 0;
    if (isNumber) {
        if (variables.Add(MCContinuousVariable(target, IMCVariable::StorageReal, IMCVariable::RoleTarget)) < 0)
            Refuse("the target has the name of a field");
    } else {
        for (nb::handle category : categories) model.categories.push_back(Label(category));
        using Variable = IMCVariable;
        const auto type = model.categories.front().GetType();
        const Variable::VariableStorage storage = type == Value::TypeString    ? Variable::StorageString
                                                  : type == Value::TypeBool    ? Variable::StorageBoolean
                                                  : type == Value::TypeInteger ? Variable::StorageInteger
                                                                               : Variable::StorageReal;
        MCCategoricalVariable labels(target, storage, Variable::RoleTarget);
        for (const Value& category : model.categories) labels.AddCategory(category);
        if (variables.Add(labels) < 0) Refuse("the target has the name of a field");
        model.normalization = MCPMMLRegression::Softmax;
        if (table.NRows() + 1 != model.categories.size())
            Refuse("a row of coefficients for each category but the first");
    }
    for (std::size_t row = 0; row < table.NRows(); ++row)
        for (std::size_t term = 0; term < terms; ++term) {
            MCPMMLCoefficient coefficient;
            coefficient.term = static_cast<int>(term);
            coefficient.estimate = b[row * terms + term];
            coefficient.category = isNumber ? -1 : static_cast<int>(row) + 1;
            model.coefficients.push_back(coefficient);
        }

    MCPMMLExporter exporter(variables);
    exporter.SetHeader("", application, version, "");
    exporter.AddRegression(model);
    std::string problem;
    const std::unique_ptr<XMLElement> root(exporter.Create(nullptr, &problem));
    if (!root) Refuse("no PMML document: " + problem);
    std::ostringstream out;
    WriteTreeUTF8(out, nullptr, root.get(), true);
    return out.str();
}

} // namespace

void RegisterPmml(nb::module_& m)
{
    m.def("regression_pmml", &RegressionPmml, nb::arg("fields"), nb::arg("target"), nb::arg("coefficients"),
          nb::arg("categories"), nb::arg("application"), nb::arg("version"),
          nb::sig("def regression_pmml(fields: list[str], target: str, coefficients: typing.Any, categories: "
                  "list[typing.Any], application: str, version: str) -> str"),
          "A PMML 4.4 document of a regression: rows of the intercept and a coefficient for each field, one row for a "
          "number, one for each category but the first else.");
}

} // namespace modelcore_python
