// What a document needs of fields and names, its header, statistics, quality and verification.
#include "modelcore/pmml/internal/PMMLBuilder.h"

#include "modelcore/pmml/internal/PMMLQuality.h"
#include "modelcore/variables/MCCategoricalVariable.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace MCXML_930::internal {

using MCCommon_930::MCMV;
using MCCommon_930::Value;

namespace {

/// The XML name of a column of the cases: x1, x2, ... for inputs and y1, y2, ... for outputs.
std::string CellName(char kind, std::size_t i)
{
    std::string name(1, kind);
    name += std::to_string(i + 1);
    return name;
}

} // namespace

PMMLBuilder::PMMLBuilder(const MCPMMLExporter& exporter)
    : fExporter(exporter), fFields(exporter.fVariables, exporter.fEncoders)
{}

const MCPMMLModel* PMMLBuilder::Model() const
{
    if (const auto* const model = std::get_if<MCPMMLRegression>(&fExporter.fModel)) return model;
    return std::get_if<MCPMMLGeneralRegression>(&fExporter.fModel);
}

PMMLField* PMMLBuilder::Need(const std::string& name, const std::string& user)
{
    PMMLField* const field = fFields.Find(name);
    if (field == nullptr)
        fWriter.Refuse(MCPMMLExporter::UnknownName,
                       user + " names the field " + InQuotes(name) + ", which is not there");
    return field;
}

// Planning

void PMMLBuilder::PlanOutputs()
{
    if (const MCPMMLModel* const model = Model()) {
        const PMMLField* const target = fFields.Find(model->target);
        fvOutputs.push_back({fFields.TakeName("predicted_" + model->target),
                             "predictedValue",
                             {},
                             DataOf(model->categories, PMMLField::Data::Number)});
        for (const Value& category : model->categories) {
            const std::string text = target == nullptr ? TextOf(category) : target->Text(category);
            fvOutputs.push_back({fFields.TakeName("probability_" + model->target + "=" + text), "probability", text});
        }
    } else if (std::holds_alternative<MCPMMLClustering>(fExporter.fModel)) {
        fvOutputs.push_back({fFields.TakeName("cluster"), "predictedValue", {}, PMMLField::Data::Text});
        fvOutputs.push_back({fFields.TakeName("distance"), "affinity", {}});
    }
    if (!fExporter.fbShowColumns || fvOutputs.empty()) return;
    for (PMMLField& field : fFields.All())
        for (const std::string& column : field.columns) {
            field.used = true;
            fvOutputs.push_back({fFields.TakeName("column_" + column), "transformedValue", column});
        }
}

std::vector<std::string> PMMLBuilder::GetOutputNames()
{
    PlanOutputs();
    std::vector<std::string> names;
    for (const Output& output : fvOutputs) names.push_back(output.name);
    return names;
}

void PMMLBuilder::PlanTarget(const MCPMMLModel& model)
{
    fTarget = Need(model.target, "the target");
    if (fTarget == nullptr) return;
    if (fTarget->encoder != nullptr)
        fWriter.Refuse(MCPMMLExporter::NotExpressible, "the target " + InQuotes(model.target) + " has an encoder");
    if (model.categories.size() == 1)
        fWriter.Refuse(MCPMMLExporter::Inconsistent, "the target " + InQuotes(model.target) + " has one category");
    std::set<std::string> texts;
    for (const Value& category : model.categories)
        if (IsAbsent(category) || category.GetType() > Value::TypeString)
            fWriter.Refuse(MCPMMLExporter::Inconsistent,
                           "a category of the target " + InQuotes(model.target) + " is no bool, number or text");
        else if (!texts.insert(fTarget->Text(category)).second)
            fWriter.Refuse(MCPMMLExporter::DuplicateName, "the target " + InQuotes(model.target) +
                                                              " has the category " + InQuotes(fTarget->Text(category)) +
                                                              " twice");
    fFields.MakeTarget(*fTarget, model.categories);
}

void PMMLBuilder::PlanPart(const MCPMMLTerm& term, const Part& part, bool counts)
{
    const std::string user = "the term " + InQuotes(term.name);
    PMMLField* const field = Need(part.field, user);
    if (field == nullptr) return;
    if (field == fTarget) fWriter.Refuse(MCPMMLExporter::Inconsistent, user + " holds the target");
    field->used = field->used || counts;
    if (part.kind == Part::Column) {
        if (part.column < 0 || part.column >= static_cast<int>(field->columns.size()))
            fWriter.Refuse(MCPMMLExporter::UnknownName, user + " asks for column " + std::to_string(part.column) +
                                                            " of the encoder of " + InQuotes(part.field) +
                                                            ", which is not there");
    } else if (field->encoder != nullptr) {
        fWriter.Refuse(MCPMMLExporter::Inconsistent,
                       user + " takes the field " + InQuotes(part.field) + " without its encoder");
    }
    if (part.kind == Part::Field && field->categorical)
        fWriter.Refuse(MCPMMLExporter::Inconsistent,
                       user + " takes the categories of the field " + InQuotes(part.field) + " as a number");
    if (part.kind != Part::Level && (part.exponent == 0 || part.exponent > 1000 || part.exponent < -1000))
        fWriter.Refuse(MCPMMLExporter::NotExpressible, user + " has the exponent " + std::to_string(part.exponent));
    if (part.kind != Part::Level) return;
    const auto is = [&](const Value& value) { return field->Text(value) == field->Text(part.level); };
    if (IsAbsent(part.level) || !field->categorical || std::ranges::none_of(field->valid, is))
        fWriter.Refuse(MCPMMLExporter::UnknownName, user + " names the category " + InQuotes(field->Text(part.level)) +
                                                        ", which is none of the field " + InQuotes(part.field));
    // A CategoricalPredictor counts 0 for a missing value, which would be a prediction for some other category.
    if (counts && std::holds_alternative<MCPMMLRegression>(fExporter.fModel)) field->refusesMissing = true;
}

void PMMLBuilder::PlanTerms(const MCPMMLModel& model)
{
    // What counts 0 asks for no field.
    std::vector<bool> counts(model.terms.size(), false);
    for (const MCPMMLCoefficient& c : model.coefficients)
        if (!c.aliased && c.term >= 0 && c.term < static_cast<int>(counts.size()))
            counts[static_cast<std::size_t>(c.term)] = true;
    std::set<std::string> names;
    for (std::size_t i = 0; i < model.terms.size(); ++i) {
        const MCPMMLTerm& term = model.terms[i];
        if (!names.insert(term.name).second)
            fWriter.Refuse(MCPMMLExporter::DuplicateName, "two terms are named " + InQuotes(term.name));
        std::set<std::string> fields;
        for (const Part& part : term.parts) {
            PlanPart(term, part, counts[i]);
            if (!fields.insert(part.field).second)
                fWriter.Refuse(MCPMMLExporter::NotExpressible, "the term " + InQuotes(term.name) + " holds the field " +
                                                                   InQuotes(part.field) + " twice");
        }
    }
    PlanProducts(model, counts);
}

// A product with a level that is not there is 0, and evaluators do not look at the rest of it: a missing value of a field
// that stands nowhere else would count 0. Levels as derived fields keep them looking.
void PMMLBuilder::PlanProducts(const MCPMMLModel& model, const std::vector<bool>& counts)
{
    const auto hasLevel = [](const MCPMMLTerm& term) {
        return std::ranges::any_of(term.parts, [](const Part& part) { return part.kind == Part::Level; });
    };
    const bool equations = std::holds_alternative<MCPMMLRegression>(fExporter.fModel); // these have no other way
    std::set<std::string> looked;
    for (std::size_t i = 0; i < model.terms.size(); ++i)
        if (const auto& parts = model.terms[i].parts; counts[i] && (parts.size() == 1 || !hasLevel(model.terms[i])))
            for (const Part& part : parts) looked.insert(part.field);
    for (std::size_t i = 0; i < model.terms.size(); ++i) {
        const MCPMMLTerm& term = model.terms[i];
        if (!counts[i] || term.parts.size() < 2 || !hasLevel(term)) continue;
        if (!equations &&
            std::ranges::all_of(term.parts, [&](const Part& part) { return looked.contains(part.field); }))
            continue;
        fByIndicators.insert(&term);
        for (const Part& part : term.parts)
            if (const PMMLField* const field = fFields.Find(part.field); field != nullptr && part.kind == Part::Level)
                fFields.Indicator(*field, part.level);
    }
}

void PMMLBuilder::CheckCoefficients(const MCPMMLModel& model)
{
    std::set<std::pair<int, int>> seen;
    for (const MCPMMLCoefficient& c : model.coefficients) {
        if (c.term < 0 || c.term >= static_cast<int>(model.terms.size())) {
            fWriter.Refuse(MCPMMLExporter::UnknownName,
                           "a coefficient belongs to term " + std::to_string(c.term) + ", which is not there");
            return;
        }
        const std::string what = "the coefficient of " + InQuotes(model.terms[static_cast<std::size_t>(c.term)].name);
        if (c.category < -1 || c.category >= static_cast<int>(model.categories.size()))
            fWriter.Refuse(MCPMMLExporter::UnknownName, what + " belongs to a category that is not there");
        if (!seen.emplace(c.term, c.category).second)
            fWriter.Refuse(MCPMMLExporter::DuplicateName, what + " is there twice");
        if (!c.aliased && (!std::isfinite(c.estimate) || MCMV::IsMissing(c.estimate)))
            fWriter.Refuse(MCPMMLExporter::NotFinite, what + " is not finite");
    }
}

void PMMLBuilder::PlanClustering(const MCPMMLClustering& model)
{
    if (model.fields.empty() || model.clusters.empty())
        fWriter.Refuse(MCPMMLExporter::Inconsistent, "a model of clusters needs fields and clusters");
    std::set<std::pair<std::string, int>> seen;
    for (const MCPMMLClustering::Field& one : model.fields) {
        const std::string user = "the model of clusters";
        PMMLField* const field = Need(one.field, user);
        if (field == nullptr) continue;
        field->used = true;
        // Evaluators leave missing differences out and blow up the rest; Encode has no row, and so no cluster.
        std::vector<double> row(field->columns.size());
        if (field->encoder == nullptr || field->encoder->Encode(Value(), row) == IMCEncoder::Refused ||
            (!row.empty() && MCMV::IsMissing(row[0])))
            field->refusesMissing = true;
        if (!PlanDistances(*field))
            fWriter.Refuse(MCPMMLExporter::NotExpressible, user + " would give a cluster where the encoder of " +
                                                               InQuotes(one.field) + " refuses the value");
        if ((field->encoder == nullptr) != (one.column < 0) || one.column >= static_cast<int>(field->columns.size()))
            fWriter.Refuse(MCPMMLExporter::UnknownName,
                           user + " asks for a column of " + InQuotes(one.field) + " that is not there");
        if (field->encoder == nullptr && field->categorical)
            fWriter.Refuse(MCPMMLExporter::Inconsistent,
                           user + " takes the categories of " + InQuotes(one.field) + " as numbers");
        if (!seen.emplace(one.field, one.column).second)
            fWriter.Refuse(MCPMMLExporter::DuplicateName, user + " takes the field " + InQuotes(one.field) + " twice");
    }
    for (const MCPMMLClustering::Cluster& cluster : model.clusters)
        if (cluster.center.size() != model.fields.size())
            fWriter.Refuse(MCPMMLExporter::Inconsistent,
                           "the center of cluster " + InQuotes(cluster.name) + " has another number of fields");
}

void PMMLBuilder::PlanModel()
{
    if (const MCPMMLModel* const model = Model()) {
        PlanTarget(*model);
        PlanTerms(*model);
        CheckCoefficients(*model);
    } else if (const auto* const clusters = std::get_if<MCPMMLClustering>(&fExporter.fModel)) {
        PlanClustering(*clusters);
    } else {
        fWriter.Refuse(MCPMMLExporter::NoModel, "no model was added");
    }
    if (const auto* const general = std::get_if<MCPMMLGeneralRegression>(&fExporter.fModel))
        for (const std::string& name : {general->offsetField, general->trialsField}) {
            if (name.empty()) continue;
            PMMLField* const field = Need(name, "offset or trials of the model");
            if (field == nullptr) continue;
            field->used = true;
            if (field->categorical || field->encoder != nullptr || field == fTarget)
                fWriter.Refuse(MCPMMLExporter::Inconsistent,
                               "offset or trials " + InQuotes(name) +
                                   " is the target, or no continuous field without encoder");
        }
}

// Parts of the document

std::unique_ptr<XMLElement> PMMLBuilder::Create()
{
    PlanModel();
    PlanOutputs();
    if (!fWriter.Ok()) return nullptr;
    std::unique_ptr<XMLElement> root(XMLElement::Create("PMML"));
    fWriter.Set(*root, "xmlns", "http://www.dmg.org/PMML-4_4");
    fWriter.Set(*root, "version", "4.4");
    WriteHeader(*root);
    fFields.WriteDataDictionary(fWriter, *root);
    fFields.WriteDerivedFields(fWriter, *root);
    if (const auto* const regression = std::get_if<MCPMMLRegression>(&fExporter.fModel))
        WriteRegression(*root, *regression);
    else if (const auto* const general = std::get_if<MCPMMLGeneralRegression>(&fExporter.fModel))
        WriteGeneralRegression(*root, *general);
    else if (const auto* const clusters = std::get_if<MCPMMLClustering>(&fExporter.fModel))
        WriteClustering(*root, *clusters);
    return fWriter.Ok() ? std::move(root) : nullptr;
}

void PMMLBuilder::WriteHeader(XMLElement& root)
{
    XMLElement& header = fWriter.Add(root, "Header");
    fWriter.SetIf(header, "copyright", fExporter.fCopyright);
    if (!fExporter.fApplication.empty()) {
        XMLElement& application = fWriter.Add(header, "Application");
        fWriter.Set(application, "name", fExporter.fApplication);
        fWriter.SetIf(application, "version", fExporter.fVersion);
    }
    if (!fExporter.fTimestamp.empty()) fWriter.AddText(fWriter.Add(header, "Timestamp"), fExporter.fTimestamp);
}

void PMMLBuilder::WriteBegin(XMLElement& element, const std::string& name, const std::string& algorithm)
{
    fWriter.SetIf(element, "modelName", name);
    fWriter.SetIf(element, "algorithmName", algorithm);
    if (const MCPMMLModel* const model = Model()) WriteAliased(element, *model);
    fFields.WriteMiningSchema(fWriter, element, fTarget);
    WriteOutput(element);
    WriteStatistics(element);
    WriteQuality(element);
    WriteTargets(element);
}

void PMMLBuilder::WriteAliased(XMLElement& element, const MCPMMLModel& model)
{
    for (const MCPMMLCoefficient& c : model.coefficients) {
        if (!c.aliased) continue;
        XMLElement& extension = fWriter.Add(element, "Extension");
        fWriter.Set(extension, "extender", "modelcore");
        fWriter.Set(extension, "name", "aliased parameter");
        std::string value = model.terms[static_cast<std::size_t>(c.term)].name;
        if (c.category >= 0) value += " of " + CategoryText(model, c.category);
        fWriter.Set(extension, "value", value);
    }
}

void PMMLBuilder::WriteOutput(XMLElement& element)
{
    XMLElement& all = fWriter.Add(element, "Output");
    for (const Output& output : fvOutputs) {
        const bool isText = output.data == PMMLField::Data::Text;
        XMLElement& field = fWriter.Add(all, "OutputField");
        const bool category =
            output.feature == std::string_view("predictedValue") && fTarget != nullptr ? fTarget->categorical : isText;
        fWriter.Set(field, "name", output.name);
        fWriter.Set(field, "optype", category ? "categorical" : "continuous");
        fWriter.Set(field, "dataType", isText ? "string" : output.data == PMMLField::Data::Bool ? "boolean" : "double");
        fWriter.Set(field, "feature", output.feature);
        if (output.feature == std::string_view("transformedValue"))
            fWriter.Set(fWriter.Add(field, "FieldRef"), "field", output.value);
        else if (output.feature == std::string_view("probability"))
            fWriter.Set(field, "value", output.value);
    }
}

void PMMLBuilder::WriteStatistics(XMLElement& element)
{
    if (fExporter.fvStatistics.empty()) return;
    XMLElement& all = fWriter.Add(element, "ModelStats");
    for (const MCPMMLExporter::Statistics& one : fExporter.fvStatistics) {
        XMLElement& stats = fWriter.Add(all, "UnivariateStats");
        fWriter.Set(stats, "field", one.field);
        const double valid = one.continuous ? one.continuous->GetSumFreqWeights() : one.counts.GetSumCounts();
        XMLElement& counts = fWriter.Add(stats, "Counts");
        fWriter.Set(counts, "totalFreq", valid + one.missing + one.invalid);
        fWriter.Set(counts, "missingFreq", one.missing);
        fWriter.Set(counts, "invalidFreq", one.invalid);
        if (one.continuous) {
            XMLElement& numbers = fWriter.Add(stats, "NumericInfo");
            const auto [lowest, highest] = one.continuous->GetExtrema();
            const double variance = one.continuous->GetVariance();
            fWriter.SetIf(numbers, "minimum", lowest);
            fWriter.SetIf(numbers, "maximum", highest);
            fWriter.SetIf(numbers, "mean", one.continuous->GetMean());
            if (!MCMV::IsMissing(variance)) fWriter.Set(numbers, "standardDeviation", std::sqrt(variance));
            continue;
        }
        fWriter.Set(counts, "cardinality", static_cast<int>(one.categories.size()));
        std::vector<double> weights;
        for (std::size_t i = 0; i < one.categories.size(); ++i)
            weights.push_back(one.counts.GetCatCount(static_cast<unsigned>(i)));
        XMLElement& discrete = fWriter.Add(stats, "DiscrStats");
        if (!weights.empty()) {
            const auto most = std::ranges::max_element(weights) - weights.begin();
            fWriter.Set(discrete, "modalValue", TextOf(one.categories[static_cast<std::size_t>(most)]));
        }
        fWriter.AddArray(discrete, one.categories);
        fWriter.AddArray(discrete, "Array", weights);
    }
}

void PMMLBuilder::WriteQuality(XMLElement& element)
{
    if (fExporter.fvQualities.empty()) return;
    if (fTarget == nullptr) {
        fWriter.Refuse(MCPMMLExporter::NotExpressible, "the quality of a model of clusters cannot be written");
        return;
    }
    XMLElement& all = fWriter.Add(element, "ModelExplanation");
    for (const MCPMMLQuality& quality : fExporter.fvQualities)
        WritePMMLQuality(fWriter, fWriter.Add(all, "PredictiveModelQuality"), fTarget->Name(), quality);
}

void PMMLBuilder::WriteTargets(XMLElement& element)
{
    if (!fExporter.fTarget) return;
    const MCPMMLTarget& t = *fExporter.fTarget;
    const MCPMMLModel* const model = Model();
    if (model == nullptr ||
        (!t.priorProbabilities.empty() && t.priorProbabilities.size() != model->categories.size())) {
        fWriter.Refuse(MCPMMLExporter::Inconsistent, "the target's settings do not fit the model");
        return;
    }
    XMLElement& target = fWriter.Add(fWriter.Add(element, "Targets"), "Target");
    fWriter.Set(target, "field", fTarget->Name());
    if (model->categories.empty()) {
        if (t.cast != MCPMMLTarget::NotCast)
            fWriter.Set(target, "castInteger",
                        t.cast == MCPMMLTarget::Round     ? "round"
                        : t.cast == MCPMMLTarget::Ceiling ? "ceiling"
                                                          : "floor");
        fWriter.SetIf(target, "min", t.min);
        fWriter.SetIf(target, "max", t.max);
        fWriter.Set(target, "rescaleConstant", t.rescaleConstant);
        fWriter.Set(target, "rescaleFactor", t.rescaleFactor);
    }
    for (std::size_t i = 0; i < t.priorProbabilities.size(); ++i) {
        XMLElement& value = fWriter.Add(target, "TargetValue");
        fWriter.Set(value, "value", fTarget->Text(model->categories[i]));
        fWriter.Set(value, "priorProbability", t.priorProbabilities[i]);
    }
}

void PMMLBuilder::WriteVerification(XMLElement& element)
{
    const std::vector<MCPMMLVerification>& cases = fExporter.fvCases;
    if (cases.empty()) return;
    if (!(fExporter.fdPrecision > 0.0 && fExporter.fdPrecision < 1.0)) {
        fWriter.Refuse(MCPMMLExporter::Inconsistent, "the precision of the verification is not between 0 and 1");
        return;
    }
    const auto* const clusters = std::get_if<MCPMMLClustering>(&fExporter.fModel);
    const MCPMMLModel* const model = Model();
    // Of a model of categories the probabilities; the predicted category follows from them, and ties may fall otherwise.
    const std::size_t first = model != nullptr && !model->categories.empty() ? 1 : 0;
    const std::size_t outputs = clusters != nullptr ? 2 : model->categories.empty() ? 1 : model->categories.size();
    double largest = 0.0;
    for (const MCPMMLVerification& one : cases) {
        bool fits = one.values.size() == fFields.All().size() && one.predictions.size() == outputs;
        fits = fits && (clusters == nullptr || (one.predictions[0] >= 0.0 &&
                                                one.predictions[0] < static_cast<double>(clusters->clusters.size()) &&
                                                one.predictions[0] == std::floor(one.predictions[0])));
        if (!fits) {
            fWriter.Refuse(MCPMMLExporter::Inconsistent, "a case of the verification does not fit variables and model");
            return;
        }
        for (std::size_t i = clusters == nullptr ? 0 : 1; i < outputs; ++i) {
            fWriter.NumberText(one.predictions[i], "a prediction of the verification");
            largest = std::max(largest, std::fabs(one.predictions[i]));
        }
    }
    if (!fWriter.Ok()) return;

    std::vector<std::size_t> inputs;
    for (std::size_t i = 0; i < fFields.All().size(); ++i)
        if (fFields.All()[i].used && &fFields.All()[i] != fTarget) inputs.push_back(i);
    XMLElement& verification = fWriter.Add(element, "ModelVerification");
    fWriter.Set(verification, "recordCount", static_cast<int>(cases.size()));
    fWriter.Set(verification, "fieldCount", static_cast<int>(inputs.size() + outputs));
    XMLElement& fields = fWriter.Add(verification, "VerificationFields");
    const auto addField = [&](const std::string& name, const std::string& column) -> XMLElement& {
        XMLElement& field = fWriter.Add(fields, "VerificationField");
        fWriter.Set(field, "field", name);
        fWriter.Set(field, "column", column);
        return field;
    };
    for (const std::size_t i : inputs) addField(fFields.All()[i].Name(), CellName('x', i));
    for (std::size_t i = 0; i < outputs; ++i) {
        XMLElement& field = addField(fvOutputs[first + i].name, CellName('y', i));
        if (clusters != nullptr && i == 0) continue;
        fWriter.Set(field, "precision", fExporter.fdPrecision);
        fWriter.Set(field, "zeroThreshold", std::max(1e-15 / fExporter.fdPrecision * largest, 1e-300));
    }
    XMLElement& table = fWriter.Add(verification, "InlineTable");
    int number = 0;
    for (const MCPMMLVerification& one : cases) {
        XMLElement& row = fWriter.Add(table, "row");
        ++number;
        std::size_t cells = outputs;
        for (const std::size_t i : inputs) {
            const PMMLField& field = fFields.All()[i];
            // A cell without text would be an empty text, which is no missing value.
            if (field.variable->Classify(one.values[i]) == IMCVariable::ValueMissing || IsAbsent(one.values[i]))
                continue;
            fWriter.AddText(fWriter.Add(row, CellName('x', i).c_str()), field.Text(one.values[i]));
            ++cells;
        }
        for (std::size_t i = 0; i < outputs; ++i) {
            XMLElement& cell = fWriter.Add(row, CellName('y', i).c_str());
            if (clusters != nullptr && i == 0)
                fWriter.AddText(
                    cell, fvOutputs.empty() ? std::string() : [&] {
                        const auto place = static_cast<std::size_t>(one.predictions[0]);
                        const std::string& name = clusters->clusters[place].name;
                        return name.empty() ? std::to_string(place + 1) : name;
                    }());
            else
                fWriter.AddText(cell, fWriter.NumberText(one.predictions[i]));
        }
        // A row of one cell is none.
        if (cells < 2) fWriter.AddText(fWriter.Add(row, "case"), std::to_string(number));
    }
}

} // namespace MCXML_930::internal
