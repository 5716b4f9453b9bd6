#include "model/Coefficient.h"

#include "common/StatXml.h"

#include <algorithm>
#include <cmath>

namespace model {

using namespace procedure;
using MCCommon_930::MCMV;
using MCXML_930::MCStatXMLUtil;
using MCXML_930::XMLElement;

std::string Coefficient::WhyNot() const
{
    return parameter.reference ? "reference" : separated ? "separated" : "aliased";
}

namespace {

/// What a parameter stands for: nothing for the intercept, else a covariate or a level of a factor.
struct Origin {
    std::vector<XMLElement*> covariates, factors;

    explicit Origin(const Parameter& parameter)
    {
        for (const Parameter::Part& part : parameter.parts) {
            if (part.isFactor)
                factors.push_back(MCStatXMLUtil::CreateElemFactor(Legal(part.field), Legal(part.level), false));
            else
                covariates.push_back(MCStatXMLUtil::CreateElemCovariate(Legal(part.field), part.power));
        }
    }
};

XMLElement* CreateLabels(const std::vector<Coefficient>& coefficients, const std::vector<int>& estimated,
                         const char* dimension)
{
    std::vector<XMLElement*> labels;
    for (const int position : estimated) {
        const Parameter& parameter = coefficients[At(position)].parameter;
        const Origin origin(parameter);
        labels.push_back(MCStatXMLUtil::CreateElemLabel(Legal(parameter.Name()), origin.covariates, origin.factors));
    }
    return MCStatXMLUtil::CreateElemRowColLabels(dimension, labels);
}

} // namespace

XMLElement* CreateParameter(const Coefficient& coefficient, const char* ratio)
{
    const Parameter& parameter = coefficient.parameter;
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Parameter");
    const Origin origin(parameter);
    block->AddElement(MCStatXMLUtil::CreateElemRegressionParameter(
        Legal(parameter.Name()), parameter.kind == Parameter::Kind::Intercept, origin.covariates, origin.factors));
    AddStatistic(*block, "aliased", TrueOrFalse(coefficient.aliased));
    AddStatistic(*block, "reference", TrueOrFalse(parameter.reference));
    if (coefficient.separated) AddStatistic(*block, "separated", TrueOrFalse(true));
    if (!coefficient.HasEstimate()) return block;
    AddStatistic(*block, "estimate", coefficient.estimate);
    AddStatistic(*block, "stdError", coefficient.stdError);
    AddStatistic(*block, ratio, coefficient.t);
    AddStatistic(*block, "significance", coefficient.significance);
    AddStatistic(*block, "lowerLimit", coefficient.lower);
    AddStatistic(*block, "upperLimit", coefficient.upper);
    if (!MCMV::IsMissing(coefficient.tolerance)) AddStatistic(*block, "tolerance", coefficient.tolerance);
    return block;
}

XMLElement* CreateCovariance(const std::vector<Coefficient>& coefficients, const std::vector<int>& estimated,
                             const MCMath_930::MCSymMatrix& covariance)
{
    const int order = covariance.GetNRows();
    XMLElement* const labels = MCStatXMLUtil::CreateElemMatrixLabels(
        {CreateLabels(coefficients, estimated, "row"), CreateLabels(coefficients, estimated, "column")});
    XMLElement* const values = MCStatXMLUtil::CreateElemArray(covariance.GetPtr(), order * (order + 1) / 2);
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Covariance matrix of the estimates");
    block->AddElement(MCStatXMLUtil::CreateElemMatrix(labels, {}, values, nullptr, static_cast<unsigned>(order),
                                                      static_cast<unsigned>(order), "covariance", true));
    return block;
}

void AddPmmlTerms(const std::vector<Coefficient>& coefficients, const MCXML_930::MCVariableList& variables,
                  MCXML_930::MCPMMLModel& model)
{
    for (const Coefficient& coefficient : coefficients) {
        const Parameter& parameter = coefficient.parameter;
        if (parameter.reference) continue; // nothing is added for the level that the others are compared with
        MCXML_930::MCPMMLTerm term(parameter.Name());
        for (const Parameter::Part& part : parameter.parts) {
            if (!part.isFactor) {
                term.TimesField(part.field, part.power);
                continue;
            }
            const auto* const factor = dynamic_cast<const MCXML_930::MCCategoricalVariable*>(variables.Get(part.field));
            term.TimesLevel(part.field, factor->GetCategories()[At(part.place)].value);
        }
        model.coefficients.push_back(
            {static_cast<int>(model.terms.size()), coefficient.estimate, -1, coefficient.aliased});
        model.terms.push_back(term);
    }
}

Chart DrawCoefficients(const std::string& subtitle, const std::vector<Coefficient>& coefficients)
{
    constexpr std::size_t kShown = 60;
    std::vector<const Coefficient*> shown;
    for (const Coefficient& c : coefficients)
        if (c.HasEstimate() && c.parameter.kind != Parameter::Kind::Intercept && !MCMV::IsMissing(c.lower))
            shown.push_back(&c);
    const bool cut = shown.size() > kShown;
    if (cut) { // those that are the most certain not to be 0
        std::ranges::stable_sort(
            shown, [](const Coefficient* a, const Coefficient* b) { return std::fabs(a->t) > std::fabs(b->t); });
        shown.resize(kShown);
    }
    double low = 0.0;
    double high = 0.0;
    std::vector<std::string> names(shown.size() + 2);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        low = std::min(low, shown[i]->lower);
        high = std::max(high, shown[i]->upper);
        names[shown.size() - i] = shown[i]->parameter.Name();
    }
    const Axis axis = RoundAxis(low, high, 8);
    const auto n = static_cast<double>(shown.size() + 1);
    Chart chart("Coefficients with their limits", subtitle + (cut ? "; the most significant 60" : ""),
                {axis, "Coefficient", false, {}}, {{0.0, n, 1.0}, "", false, std::move(names)});
    chart.DrawLine({{0.0, 0.0}, {0.0, n}}, colours::kGrey, 1.6, "6 4");
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const auto y = static_cast<double>(shown.size() - i);
        chart.DrawLine({{shown[i]->lower, y}, {shown[i]->upper, y}}, colours::kBlue, 2.4);
        chart.DrawDots({{shown[i]->estimate, y}}, colours::kBlue);
    }
    return chart;
}

} // namespace model
