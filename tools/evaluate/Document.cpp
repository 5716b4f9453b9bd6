#include "Document.h"

#include "common/StatXml.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace evaluate {

using namespace procedure;

namespace {

using MCXML_930::MCStatXMLUtil;
using MCXML_930::MCVariateData;
using MCXML_930::XMLElement;

XMLElement* CreateSummary(const Options& options, const Evaluation& e)
{
    XMLElement* const summary = MCStatXMLUtil::CreateElemStructuredData("Evaluation");
    const auto number = [](std::int64_t count) { return static_cast<double>(count); };
    summary->AddElement(MCStatXMLUtil::CreateElemCounts(number(e.counts.rows), number(e.counts.missing),
                                                        number(e.counts.noFrequency), number(e.counts.used)));
    AddStatistic(*summary, "cases", e.cases);
    AddStatistic(*summary, "score", e.score);
    if (options.regression) {
        AddStatistic(*summary, "meanOutcome", e.meanOutcome);
        AddStatistic(*summary, "rSquared", e.rSquared);
        AddStatistic(*summary, "rootMeanSquareError", e.rootMeanSquare);
        AddStatistic(*summary, "meanAbsoluteError", e.meanAbsoluteError);
        AddStatistic(*summary, "meanError", e.meanError);
    } else {
        AddStatistic(*summary, "events", e.events);
        AddStatistic(*summary, "eventRate", e.EventRate());
        AddStatistic(*summary, "areaUnderROC", e.rocArea);
        AddStatistic(*summary, "areaStdError", e.rocError);
        AddStatistic(*summary, "areaLowerLimit", e.rocLower);
        AddStatistic(*summary, "areaUpperLimit", e.rocUpper);
        AddStatistic(*summary, "KS", e.ks);
        AddStatistic(*summary, "brier", e.brier);
        AddStatistic(*summary, "calibrationChiSquare", e.calibrationChiSquare);
        AddStatistic(*summary, "calibrationSignificance", e.calibrationSignificance);
        AddStatistic(*summary, "cutoff", e.cutoff);
    }
    AddStatistic(*summary, "minScore", e.minScore);
    AddStatistic(*summary, "maxScore", e.maxScore);
    return summary;
}

XMLElement* CreateGains(const Options& options, const Evaluation& e)
{
    MCVariateData data{"Gains", {}, {}};
    const auto add = [&](const char* feature, const std::string& field, const char* statistic,
                         const std::function<double(const Segment&)>& value) {
        data.fVariables.push_back({feature, Legal(field), statistic, {}});
        for (const Segment& s : e.segments) data.fVariables.back().fValues.push_back(value(s));
    };
    add("cases", "", "cumulativeCount", [](const Segment& s) { return s.casesSoFar; });
    add("events", options.target, "count", [](const Segment& s) { return s.events; });
    add("gain", options.target, "cumulativeShare", [&](const Segment& s) { return s.eventsSoFar / e.events; });
    add("lift", options.target, "cumulativeLift",
        [&](const Segment& s) { return e.Lift(s.eventsSoFar, s.casesSoFar); });
    add("score", e.score, "minimum", [](const Segment& s) { return s.minScore; });
    add("score", e.score, "mean", [](const Segment& s) { return s.meanScore; });
    return MCStatXMLUtil::CreateElemVarData(data);
}

/// The observed outcome by row, the predicted one by column, the event last.
XMLElement* CreateClassification(const Options& options, const Evaluation& e)
{
    const auto labels = [&](const char* dimension) {
        return MCStatXMLUtil::CreateElemRowColLabels(
            dimension, {MCStatXMLUtil::CreateElemLabel("other"), MCStatXMLUtil::CreateElemLabel(Legal(options.event))});
    };
    const MCMath_930::MCRectMatrix& m = e.classification.GetMatrix();
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Classification");
    block->AddElement(MCStatXMLUtil::CreateElemMatrix(
        MCStatXMLUtil::CreateElemMatrixLabels({labels("row"), labels("column")}), {},
        MCStatXMLUtil::CreateElemArray(m.GetPtr(), 4), nullptr, 2, 2, "classification", false));
    return block;
}

XMLElement* CreateHistogram(const Evaluation& e)
{
    MCVariateData data = e.histogram;
    data.fDescription = "Distribution of the score";
    for (auto& variable : data.fVariables) variable.fField = Legal(variable.fField);
    return MCStatXMLUtil::CreateElemVarData(data);
}

} // namespace

void WriteDocument(const Options& options, const Evaluation& e, std::ostream& out)
{
    const std::unique_ptr<XMLElement> root(MCStatXMLUtil::BuildRoot());
    root->AddElement(CreateSettings(options.settings));
    root->AddElement(CreateSummary(options, e));
    root->AddElement(CreateGains(options, e));
    if (!options.regression) root->AddElement(CreateClassification(options, e));
    root->AddElement(CreateHistogram(e));
    MCXML_930::WriteTreeUTF8(out, nullptr, root.get(), true);
    out << '\n';
}

} // namespace evaluate
