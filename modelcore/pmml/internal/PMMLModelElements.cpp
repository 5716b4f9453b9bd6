// The elements of the models.
#include "modelcore/pmml/internal/PMMLBuilder.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace MCXML_930::internal {

using MCCommon_930::MCMV;

namespace {

constexpr const char* kNormalizations[] = {"none",    "simplemax", "softmax", "logit",  "probit",
                                           "cloglog", "exp",       "loglog",  "cauchit"};
constexpr const char* kTypes[] = {"generalLinear", "generalizedLinear", "multinomialLogistic", "ordinalMultinomial"};
constexpr const char* kLinks[] = {"identity", "log",  "logit", "probit",    "cloglog", "loglog",
                                  "cauchit",  "logc", "power", "oddspower", "negbin"};
constexpr const char* kDistributions[] = {"normal", "binomial", "poisson", "gamma", "igauss", "negbin", "tweedie"};

} // namespace

std::string PMMLBuilder::PartField(const MCPMMLTerm& term, const Part& part)
{
    PMMLField* const field = fFields.Find(part.field);
    if (part.kind == Part::Column) return field->columns[static_cast<std::size_t>(part.column)];
    return part.kind == Part::Field || IsFactor(term, part) ? part.field : fFields.Indicator(*field, part.level);
}

std::string PMMLBuilder::CategoryText(const MCPMMLModel& model, int category) const
{
    return fTarget->Text(model.categories[static_cast<std::size_t>(category)]);
}

// RegressionModel

void PMMLBuilder::WriteTable(XMLElement& element, const MCPMMLRegression& model, int category)
{
    XMLElement& table = fWriter.Add(element, "RegressionTable");
    std::vector<const MCPMMLCoefficient*> numeric, categorical, products;
    double intercept = 0.0;
    for (const MCPMMLCoefficient& c : model.coefficients) {
        if (c.aliased || (c.category >= 0 && c.category != category)) continue;
        const MCPMMLTerm& term = model.terms[static_cast<std::size_t>(c.term)];
        if (term.parts.empty()) {
            if (intercept != 0.0)
                fWriter.Refuse(MCPMMLExporter::NotExpressible,
                               "the term " + InQuotes(term.name) + " is a second intercept");
            intercept = c.estimate;
        } else {
            (term.parts.size() > 1               ? products
             : term.parts[0].kind == Part::Level ? categorical
                                                 : numeric)
                .push_back(&c);
        }
    }
    fWriter.Set(table, "intercept", intercept);
    if (category >= 0) fWriter.Set(table, "targetCategory", CategoryText(model, category));
    const auto termOf = [&](const MCPMMLCoefficient& c) -> const MCPMMLTerm& {
        return model.terms[static_cast<std::size_t>(c.term)];
    };
    for (const MCPMMLCoefficient* const c : numeric) {
        const Part& part = termOf(*c).parts[0];
        XMLElement& predictor = fWriter.Add(table, "NumericPredictor");
        fWriter.Set(predictor, "name", PartField(termOf(*c), part));
        if (part.exponent != 1) fWriter.Set(predictor, "exponent", part.exponent);
        fWriter.Set(predictor, "coefficient", c->estimate);
    }
    for (const MCPMMLCoefficient* const c : categorical) {
        const Part& part = termOf(*c).parts[0];
        XMLElement& predictor = fWriter.Add(table, "CategoricalPredictor");
        fWriter.Set(predictor, "name", part.field);
        fWriter.Set(predictor, "value", fFields.Find(part.field)->Text(part.level));
        fWriter.Set(predictor, "coefficient", c->estimate);
    }
    for (const MCPMMLCoefficient* const c : products) {
        XMLElement& product = fWriter.Add(table, "PredictorTerm");
        fWriter.Set(product, "coefficient", c->estimate);
        for (const Part& part : termOf(*c).parts) {
            if (part.kind != Part::Level && part.exponent < 1)
                fWriter.Refuse(MCPMMLExporter::NotExpressible,
                               "the term " + InQuotes(termOf(*c).name) + " has a product with a negative exponent");
            const std::string name = PartField(termOf(*c), part);
            for (int i = 0; i < (part.kind == Part::Level ? 1 : part.exponent); ++i)
                fWriter.Set(fWriter.Add(product, "FieldRef"), "field", name);
        }
    }
}

void PMMLBuilder::WriteRegression(XMLElement& root, const MCPMMLRegression& model)
{
    using Model = MCPMMLRegression;
    const int categories = static_cast<int>(model.categories.size());
    const bool every = model.normalization == Model::SimpleMax || model.normalization == Model::Softmax;
    const auto of = [&](int category) {
        return std::ranges::any_of(model.coefficients,
                                   [&](const MCPMMLCoefficient& c) { return c.category == category; });
    };
    if (categories > 0 && !every &&
        (categories != 2 || model.normalization == Model::None || model.normalization == Model::Exp || of(1)))
        fWriter.Refuse(MCPMMLExporter::NotExpressible,
                       "only SimpleMax and Softmax make probabilities of more than one equation");
    if (categories == 0 && model.normalization == Model::SimpleMax)
        fWriter.Refuse(MCPMMLExporter::NotExpressible, "SimpleMax needs the target's categories");

    XMLElement& element = fWriter.Add(root, "RegressionModel");
    fWriter.Set(element, "functionName", categories > 0 ? "classification" : "regression");
    fWriter.Set(element, "normalizationMethod", kNormalizations[static_cast<std::size_t>(model.normalization)]);
    WriteBegin(element, model.name, model.algorithm);
    if (categories == 0) {
        WriteTable(element, model, -1);
    } else if (every) {
        for (int category = 0; category < categories; ++category) WriteTable(element, model, category);
    } else {
        WriteTable(element, model, 0);
        XMLElement& rest = fWriter.Add(element, "RegressionTable");
        fWriter.Set(rest, "intercept", 0.0);
        fWriter.Set(rest, "targetCategory", CategoryText(model, 1));
    }
    WriteVerification(element);
}

// GeneralRegressionModel

void PMMLBuilder::WriteGeneralAttributes(XMLElement& element, const MCPMMLGeneralRegression& model, int reference)
{
    using Model = MCPMMLGeneralRegression;
    const bool ordinal = model.type == Model::OrdinalMultinomial, generalized = model.type == Model::GeneralizedLinear;
    const bool categories = !model.categories.empty();
    const auto require = [&](bool holds, MCPMMLExporter::Code code, const char* problem) {
        if (!holds) fWriter.Refuse(code, problem);
    };
    const bool multinomial = model.type == Model::MultinomialLogistic;
    require(categories || (!ordinal && !multinomial), MCPMMLExporter::Inconsistent,
            "the model needs the target's categories");
    require(!categories || model.type != Model::GeneralLinear, MCPMMLExporter::Inconsistent,
            "a GeneralLinear model predicts a number, not a category");
    require(!categories || !generalized || model.categories.size() == 2, MCPMMLExporter::NotExpressible,
            "a GeneralizedLinear model predicts one of two categories");
    require(generalized || (model.offsetField.empty() && MCMV::IsMissing(model.offset)), MCPMMLExporter::NotExpressible,
            "evaluators count an offset in GeneralizedLinear models alone");
    require(generalized || (model.trialsField.empty() && model.trials == 0), MCPMMLExporter::NotExpressible,
            "only GeneralizedLinear models have trials");
    require(model.offsetField.empty() || MCMV::IsMissing(model.offset), MCPMMLExporter::Inconsistent,
            "the model has two offsets");
    require(model.trialsField.empty() || model.trials == 0, MCPMMLExporter::Inconsistent, "the model has trials twice");
    const bool needsParameter = model.link == Model::Power || model.link == Model::OddsPower;
    require(!generalized || !needsParameter || !MCMV::IsMissing(model.linkParameter), MCPMMLExporter::Inconsistent,
            "the link needs its parameter");
    require(!generalized || model.link != Model::NegBin || !MCMV::IsMissing(model.distributionParameter),
            MCPMMLExporter::Inconsistent, "the link NegBin needs the parameter of the distribution");
    require(!generalized || model.link != Model::Cauchit, MCPMMLExporter::NotExpressible,
            "the link Cauchit is for OrdinalMultinomial alone");
    require(!ordinal || (model.link != Model::Identity && model.link != Model::Log && model.link < Model::LogC),
            MCPMMLExporter::NotExpressible, "the link is none of OrdinalMultinomial");
    if (!fWriter.Ok()) return;

    fWriter.Set(element, "modelType", kTypes[static_cast<std::size_t>(model.type)]);
    fWriter.Set(element, "functionName", categories ? "classification" : "regression");
    if (reference >= 0) fWriter.Set(element, "targetReferenceCategory", CategoryText(model, reference));
    const char* const link = kLinks[static_cast<std::size_t>(model.link)];
    if (ordinal) fWriter.Set(element, "cumulativeLink", link);
    if (generalized) {
        fWriter.Set(element, "distribution", kDistributions[static_cast<std::size_t>(model.distribution)]);
        fWriter.Set(element, "linkFunction", link);
        if (needsParameter) fWriter.Set(element, "linkParameter", model.linkParameter);
        fWriter.SetIf(element, "distParameter", model.distributionParameter);
        fWriter.SetIf(element, "offsetVariable", model.offsetField);
        fWriter.SetIf(element, "offsetValue", model.offset);
        fWriter.SetIf(element, "trialsVariable", model.trialsField);
        if (model.trials != 0) fWriter.Set(element, "trialsValue", model.trials);
    }
    if (model.type == Model::GeneralLinear) {
        fWriter.Set(element, "distribution", "normal");
        fWriter.Set(element, "linkFunction", "identity");
    }
    fWriter.SetIf(element, "modelDF", model.residualDF);
}

void PMMLBuilder::WriteParameters(XMLElement& element, const MCPMMLGeneralRegression& model)
{
    std::vector<bool> kept(model.terms.size(), false);
    std::vector<const MCPMMLCoefficient*> estimated;
    for (const MCPMMLCoefficient& c : model.coefficients) {
        if (c.aliased) continue;
        kept[static_cast<std::size_t>(c.term)] = true;
        estimated.push_back(&c);
    }
    const auto forParts = [&](auto&& use) {
        for (std::size_t i = 0; i < model.terms.size(); ++i)
            if (kept[i])
                for (const Part& part : model.terms[i].parts) use(model.terms[i], part);
    };

    XMLElement& parameters = fWriter.Add(element, "ParameterList");
    for (std::size_t i = 0; i < model.terms.size(); ++i)
        if (kept[i]) fWriter.Set(fWriter.Add(parameters, "Parameter"), "name", model.terms[i].name);
    XMLElement& factors = fWriter.Add(element, "FactorList");
    XMLElement& covariates = fWriter.Add(element, "CovariateList");
    std::set<std::string> listed;
    forParts([&](const MCPMMLTerm& term, const Part& part) {
        const std::string name = PartField(term, part);
        if (listed.insert(name).second)
            fWriter.Set(fWriter.Add(IsFactor(term, part) ? factors : covariates, "Predictor"), "name", name);
    });
    XMLElement& matrix = fWriter.Add(element, "PPMatrix");
    forParts([&](const MCPMMLTerm& term, const Part& part) {
        XMLElement& cell = fWriter.Add(matrix, "PPCell");
        fWriter.Set(cell, "value",
                    IsFactor(term, part) ? fFields.Find(part.field)->Text(part.level) : std::to_string(part.exponent));
        fWriter.Set(cell, "predictorName", PartField(term, part));
        fWriter.Set(cell, "parameterName", term.name);
    });

    const auto nameOf = [&](const MCPMMLCoefficient& c) { return model.terms[static_cast<std::size_t>(c.term)].name; };
    const int order = model.covariance.GetNRows();
    if (order > 0 && order != static_cast<int>(estimated.size()))
        fWriter.Refuse(MCPMMLExporter::Inconsistent, "the covariance matrix is not of the order of the estimates");
    else if (order > 0) {
        XMLElement& covariance = fWriter.Add(element, "PCovMatrix");
        fWriter.Set(covariance, "type", "model");
        for (int i = 0; i < order; ++i)
            for (int j = 0; j <= i; ++j) {
                const MCPMMLCoefficient& row = *estimated[static_cast<std::size_t>(i)];
                const MCPMMLCoefficient& column = *estimated[static_cast<std::size_t>(j)];
                XMLElement& cell = fWriter.Add(covariance, "PCovCell");
                fWriter.Set(cell, "pRow", nameOf(row));
                fWriter.Set(cell, "pCol", nameOf(column));
                if (row.category >= 0) fWriter.Set(cell, "tRow", CategoryText(model, row.category));
                if (column.category >= 0) fWriter.Set(cell, "tCol", CategoryText(model, column.category));
                fWriter.Set(cell, "value", model.covariance.GetElem(i, j),
                            "the covariance of " + InQuotes(nameOf(row)));
            }
    }
    XMLElement& estimates = fWriter.Add(element, "ParamMatrix");
    const bool binary = model.type == MCPMMLGeneralRegression::GeneralizedLinear && !model.categories.empty();
    for (const MCPMMLCoefficient* const c : estimated) {
        XMLElement& cell = fWriter.Add(estimates, "PCell");
        const int category = binary ? (model.reference == 0 ? 1 : 0) : c->category;
        if (category >= 0) fWriter.Set(cell, "targetCategory", CategoryText(model, category));
        fWriter.Set(cell, "parameterName", nameOf(*c));
        fWriter.Set(cell, "beta", c->estimate);
        fWriter.Set(cell, "df", 1);
    }
}

void PMMLBuilder::WriteGeneralRegression(XMLElement& root, const MCPMMLGeneralRegression& model)
{
    using Model = MCPMMLGeneralRegression;
    const int categories = static_cast<int>(model.categories.size());
    const int reference = categories == 0 ? -1 : model.reference < 0 ? categories - 1 : model.reference;
    const bool ordinal = model.type == Model::OrdinalMultinomial;
    if (reference >= categories || (ordinal && reference != categories - 1))
        fWriter.Refuse(MCPMMLExporter::Inconsistent, "the reference category is not there, or not the last");
    bool shared = false, estimated = false;
    for (const MCPMMLCoefficient& c : model.coefficients) {
        const MCPMMLTerm& term = model.terms[static_cast<std::size_t>(c.term)];
        const std::string what = "the coefficient of " + InQuotes(term.name);
        estimated = estimated || !c.aliased;
        shared = shared || (c.category < 0 && !c.aliased);
        if (reference >= 0 && c.category == reference)
            fWriter.Refuse(MCPMMLExporter::Inconsistent, what + " belongs to the reference category");
        if (model.type == Model::MultinomialLogistic && c.category < 0)
            fWriter.Refuse(MCPMMLExporter::Inconsistent, what + " belongs to no category");
        if (ordinal && term.parts.empty() == (c.category < 0))
            fWriter.Refuse(MCPMMLExporter::Inconsistent,
                           what + ": intercepts belong to a category each, other terms to all");
    }
    // Evaluators stop at a matrix without parameters, and where there is none that all categories share.
    if (!estimated)
        fWriter.Refuse(
            MCPMMLExporter::NotExpressible,
            "a GeneralRegressionModel needs an estimate that is not aliased; a RegressionModel does without");
    if (ordinal && !shared)
        fWriter.Refuse(MCPMMLExporter::NotExpressible,
                       "an OrdinalMultinomial model needs a term besides the intercepts");

    XMLElement& element = fWriter.Add(root, "GeneralRegressionModel");
    WriteGeneralAttributes(element, model, reference);
    if (!fWriter.Ok()) return;
    WriteBegin(element, model.name, model.algorithm);
    WriteParameters(element, model);
    WriteVerification(element);
}

// ClusteringModel

void PMMLBuilder::WriteClustering(XMLElement& root, const MCPMMLClustering& model)
{
    static constexpr const char* kMeasures[] = {"euclidean", "squaredEuclidean", "cityBlock", "chebychev"};
    XMLElement& element = fWriter.Add(root, "ClusteringModel");
    fWriter.Set(element, "functionName", "clustering");
    fWriter.Set(element, "modelClass", "centerBased");
    fWriter.Set(element, "numberOfClusters", static_cast<int>(model.clusters.size()));
    WriteBegin(element, model.name, model.algorithm);
    XMLElement& measure = fWriter.Add(element, "ComparisonMeasure");
    fWriter.Set(measure, "kind", "distance");
    fWriter.Set(measure, "compareFunction", "absDiff");
    fWriter.Add(measure, kMeasures[static_cast<std::size_t>(model.measure)]);
    for (const MCPMMLClustering::Field& one : model.fields) {
        XMLElement& field = fWriter.Add(element, "ClusteringField");
        const PMMLField& source = *fFields.Find(one.field);
        fWriter.Set(field, "field", one.column < 0 ? one.field : source.columns[static_cast<std::size_t>(one.column)]);
        fWriter.Set(field, "fieldWeight", one.weight, "the weight of the field " + InQuotes(one.field));
        fWriter.Set(field, "compareFunction", "absDiff");
        if (!(one.weight >= 0.0))
            fWriter.Refuse(MCPMMLExporter::Inconsistent,
                           "the weight of the field " + InQuotes(one.field) + " is below 0");
    }
    int number = 0;
    std::set<std::string> names;
    for (const MCPMMLClustering::Cluster& one : model.clusters) {
        const std::string name = one.name.empty() ? std::to_string(number + 1) : one.name;
        ++number;
        if (!names.insert(name).second)
            fWriter.Refuse(MCPMMLExporter::DuplicateName, "two clusters are named " + InQuotes(name));
        XMLElement& cluster = fWriter.Add(element, "Cluster");
        fWriter.Set(cluster, "id", name);
        fWriter.Set(cluster, "name", name);
        if (!MCMV::IsMissing(one.size)) {
            if (!(one.size >= 0.0 && one.size < 2147483647.0) || one.size != std::floor(one.size))
                fWriter.Refuse(MCPMMLExporter::Inconsistent, "the size of cluster " + InQuotes(name) + " is no count");
            else
                fWriter.Set(cluster, "size", static_cast<int>(one.size));
        }
        fWriter.AddArray(cluster, "Array", one.center);
    }
    WriteVerification(element);
}

} // namespace MCXML_930::internal
