#include "common/PmmlModel.h"

#include "common/CsvTable.h"
#include "common/Failure.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace procedure {

using namespace MCXML_930;
using MCCommon_930::MCMV;
using MCCommon_930::Value;

namespace {

constexpr std::size_t kMostCases = 100;

/// The texts that are missing in every file.
MCVariableList WithMissingTexts(const MCVariableList& variables)
{
    MCVariableList list;
    for (int i = 0; i < variables.Size(); ++i) {
        const std::unique_ptr<IMCVariable> copy = variables.Get(i)->Clone();
        auto& variable = dynamic_cast<MCVariable&>(*copy);
        for (const char* const text : {"", "NA", "."}) variable.AddMissingCode(text);
        list.Add(variable);
    }
    return list;
}

/// Reads the data once more.
class Reader {
public:
    Reader(const PmmlModel& model, const CsvFormat& format, InputFile& input)
        : fModel(model), fTable(Rewound(input), format)
    {
        const std::vector<bool> used = UsedVariables();
        for (int i = 0; i < model.variables.Size(); ++i) {
            if (!used[static_cast<std::size_t>(i)]) continue;
            const MCVariable& variable = *model.variables.Get(i);
            fFields.push_back({i,
                               fTable.Find(variable.GetName()),
                               dynamic_cast<const MCCategoricalVariable*>(&variable),
                               {},
                               {},
                               0.0,
                               0.0});
        }
        if (!model.frequency.empty()) fFrequency = fTable.Find(model.frequency);
    }

    void Read(MCPMMLExporter& exporter)
    {
        std::size_t step = 1, count = 0;
        while (const std::vector<std::string_view>* const row = fTable.NextRow()) {
            MCPMMLVerification one = ReadRow(*row);
            if (!fComplete || !Predict(one)) continue;
            if (count++ % step != 0) continue;
            fCases.push_back(std::move(one));
            if (fCases.size() <= kMostCases) continue;
            // Every other one goes, so that what stays is spread evenly however many follow.
            for (std::size_t i = 0; 2 * i < fCases.size(); ++i) std::swap(fCases[i], fCases[2 * i]);
            fCases.resize((fCases.size() + 1) / 2);
            step *= 2;
        }
        for (const Field& field : fFields) {
            const std::string& name = fModel.variables.Get(field.variable)->GetName();
            if (field.factor == nullptr) {
                exporter.AddStatistics(name, field.numbers, field.missing, field.invalid);
                continue;
            }
            std::vector<Value> levels;
            for (const MCCategoricalVariable::Category& category : field.factor->GetCategories())
                levels.push_back(category.value);
            exporter.AddStatistics(name, field.counts, levels, field.missing, field.invalid);
        }
        exporter.AddVerification(fCases);
    }

private:
    struct Field {
        int variable;
        std::size_t column;
        const MCCategoricalVariable* factor;
        MCMath_930::MCContStats numbers;
        MCMath_930::MCCatStats counts;
        double missing, invalid;
    };

    static InputFile& Rewound(InputFile& input)
    {
        input.Rewind();
        return input;
    }

    std::vector<bool> UsedVariables() const
    {
        std::vector<bool> used(static_cast<std::size_t>(fModel.variables.Size()), false);
        for (const MCPMMLTerm& term : fModel.model.terms)
            for (const MCPMMLTerm::Part& part : term.parts)
                used[static_cast<std::size_t>(fModel.variables.Find(part.field))] = true;
        if (!fModel.model.offsetField.empty())
            used[static_cast<std::size_t>(fModel.variables.Find(fModel.model.offsetField))] = true;
        return used;
    }

    MCPMMLVerification ReadRow(const std::vector<std::string_view>& row)
    {
        MCPMMLVerification one;
        one.values.resize(static_cast<std::size_t>(fModel.variables.Size()));
        fComplete = true;
        double weight = fFrequency ? fTable.ReadNumber(*fFrequency, row[*fFrequency], "the frequency weight") : 1.0;
        if (!(weight > 0.0)) {
            fComplete = false;
            return one;
        }
        for (Field& field : fFields) {
            double number = 0.0;
            Value& value = one.values[static_cast<std::size_t>(field.variable)];
            const Cell cell = fTable.Parse(row[field.column], number);
            if (cell == Cell::Number)
                value = number;
            else if (cell != Cell::Missing && field.factor != nullptr)
                value = std::string(row[field.column]);
            int level = -1;
            if (field.factor != nullptr && !value.IsNull()) level = field.factor->FindCategory(value);
            if (cell == Cell::Missing)
                field.missing += weight;
            else if (field.factor != nullptr ? level < 0 : value.IsNull())
                field.invalid += weight;
            else if (field.factor != nullptr)
                field.counts.Update(level, weight);
            else
                field.numbers.Update(number, weight, 1.0);
            fComplete = fComplete && !value.IsNull() && (field.factor == nullptr || level >= 0);
        }
        return one;
    }

    /// False when the prediction is no number.
    bool Predict(MCPMMLVerification& one) const
    {
        const auto& m = fModel.model;
        double sum = 0.0;
        for (const MCPMMLCoefficient& c : m.coefficients) {
            if (c.aliased) continue;
            double product = c.estimate;
            for (const MCPMMLTerm::Part& part : m.terms[static_cast<std::size_t>(c.term)].parts) {
                const Value& value = one.values[static_cast<std::size_t>(fModel.variables.Find(part.field))];
                if (part.kind == MCPMMLTerm::Part::Level)
                    product *= value == part.level ? 1.0 : 0.0;
                else
                    for (int power = 0; power < part.exponent; ++power) product *= value.GetReal();
            }
            sum += product;
        }
        if (!m.offsetField.empty())
            sum += one.values[static_cast<std::size_t>(fModel.variables.Find(m.offsetField))].GetReal();
        const double prediction = fModel.inverseLink ? fModel.inverseLink(sum) : sum;
        one.predictions = {prediction};
        if (!m.categories.empty())
            one.predictions.insert(one.predictions.begin() + (m.reference == 0 ? 0 : 1), 1.0 - prediction);
        return std::isfinite(prediction);
    }

    const PmmlModel& fModel;
    CsvTable fTable;
    std::optional<std::size_t> fFrequency;
    std::vector<Field> fFields;
    std::vector<MCPMMLVerification> fCases;
    bool fComplete = true;
};

/// The same model as equations, which have no covariances.
MCPMMLRegression AsRegression(const MCPMMLGeneralRegression& model)
{
    using General = MCPMMLGeneralRegression;
    MCPMMLRegression regression;
    static_cast<MCPMMLModel&>(regression) = model;
    const bool linked = model.type == General::GeneralizedLinear;
    const std::pair<General::Link, MCPMMLRegression::Normalization> kKnown[] = {
        {General::Identity, MCPMMLRegression::None},   {General::Log, MCPMMLRegression::Exp},
        {General::Logit, MCPMMLRegression::Logit},     {General::Probit, MCPMMLRegression::Probit},
        {General::CLogLog, MCPMMLRegression::CLogLog}, {General::LogLog, MCPMMLRegression::LogLog}};
    const auto found =
        std::ranges::find(kKnown, model.link, &std::pair<General::Link, MCPMMLRegression::Normalization>::first);
    if (found == std::end(kKnown) || !model.offsetField.empty())
        throw Failure("a RegressionModel has neither this link nor an offset: use --pmml-form general");
    if (linked) regression.normalization = found->second;
    // The first category is the one whose probability the equation gives.
    if (model.reference == 0) std::reverse(regression.categories.begin(), regression.categories.end());
    return regression;
}

} // namespace

void SetPmmlHeader(MCPMMLExporter& exporter, const std::string& program)
{
    exporter.SetHeader("", "modelcore " + program, MCCommon_930::MCVersion::GetText(), "");
}

namespace {

/// input: null for none.
std::string Write(const PmmlModel& given, const CsvFormat& format, InputFile* input, std::ostream& out)
{
    PmmlModel model = given;
    model.variables = WithMissingTexts(given.variables);
    std::string lacks;
    if (model.model.covariance.GetNRows() > kMaxPmmlCovariance) {
        lacks = "the PMML document has no covariances: the model has more than " + std::to_string(kMaxPmmlCovariance) +
                " parameters";
        model.model.covariance = MCMath_930::MCSymMatrix(0);
    }
    MCPMMLExporter exporter(model.variables);
    SetPmmlHeader(exporter, model.program);
    if (model.asRegression) {
        const MCPMMLRegression regression = AsRegression(model.model);
        if (regression.categories != model.model.categories) model.model.reference = -1;
        model.model.categories = regression.categories;
        exporter.AddRegression(regression);
    } else {
        exporter.AddGeneralRegression(model.model);
    }
    exporter.AddQuality(model.quality);
    if (input != nullptr && input->IsRegular())
        Reader(model, format, *input).Read(exporter);
    else
        lacks = "the PMML document has neither statistics nor cases to verify it: the data cannot be read again";
    std::string problem;
    const std::unique_ptr<XMLElement> root(exporter.Create(nullptr, &problem));
    if (!root) throw Failure("no PMML document: " + problem);
    WriteTreeUTF8(out, nullptr, root.get(), true);
    out << '\n';
    return lacks;
}

} // namespace

std::string WritePmml(const PmmlModel& model, const CsvFormat& format, InputFile& input, std::ostream& out)
{
    return Write(model, format, &input, out);
}

std::string WritePmml(const PmmlModel& model, std::ostream& out)
{
    return Write(model, {}, nullptr, out);
}

} // namespace procedure
