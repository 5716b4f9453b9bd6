#include "Report.h"

#include "common/StatXml.h"
#include "common/Svg.h"
#include "common/TextTable.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace describe {

using namespace procedure;
using MCCommon_930::MCMV;

namespace {

std::string FormatPercent(double share)
{
    return ToText(100.0 * share, std::chars_format::fixed, 1);
}

std::string FormatCorrelation(double r)
{
    return ToText(r, std::chars_format::fixed, 4);
}

/// "p5", "p0.1": the quantile below which that many percent lie.
std::string QuantileName(double share)
{
    return "p" + FormatShort(100.0 * share);
}

/// The bins as a line of blocks of eight heights.
std::string Sparkline(const std::vector<Bin>& bins)
{
    constexpr const char* kBlocks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    double highest = 0.0;
    for (const Bin& bin : bins) highest = std::max(highest, bin.cases);
    std::string line;
    for (const Bin& bin : bins)
        line += bin.cases > 0.0 ? kBlocks[static_cast<int>(std::min(7.0, std::floor(8.0 * bin.cases / highest)))] : " ";
    return line;
}

void AddColumns(const Options& options, const Summary& summary, Results& results)
{
    std::vector<ResultTable::Column> heads{{"column", "Column"},
                                           {"kind", "Taken as"},
                                           {"values", "Values", FormatCount},
                                           {"missing", "Missing", FormatCount},
                                           {"different", "Different", FormatCount},
                                           {"why", ""}};
    for (const char* const key : {"differentIsExact", "mean", "stdDeviation", "skewness", "kurtosis", "minimum"})
        heads.push_back({key, ""});
    for (const double share : options.quantiles) heads.push_back({QuantileName(share), ""});
    heads.push_back({"maximum", ""});
    heads.push_back({"quantileError", ""});
    heads.push_back({"rankError", ""});
    ResultTable& table = results.AddTable("columns", "", std::move(heads));
    for (const ColumnSummary& c : summary.columns) {
        std::vector<Item> row{
            c.name, c.kind,         c.values,   c.missing,  c.different, c.why, TrueOrFalse(c.differentIsExact),
            c.mean, c.stdDeviation, c.skewness, c.kurtosis, c.minimum};
        for (std::size_t i = 0; i < options.quantiles.size(); ++i)
            row.emplace_back(i < c.quantiles.size() ? c.quantiles[i].value : MCMV::Missing());
        row.insert(row.end(), {c.maximum, c.IsNumeric() ? c.quantileError : MCMV::Missing(),
                               c.IsNumeric() ? c.rankError : MCMV::Missing()});
        table.rows.push_back(std::move(row));
        table.drawing += Printable(c.why) + "\n";
    }
}

void AddNumbers(const Options& options, const Summary& summary, Results& results)
{
    if (std::ranges::none_of(summary.columns, &ColumnSummary::IsNumeric)) return;
    ResultTable& numbers = results.AddTable("", "Numbers",
                                            {{"", "Column"},
                                             {"", "Mean", FormatShort},
                                             {"", "Std. deviation", FormatShort},
                                             {"", "Skewness", FormatShort},
                                             {"", "Kurtosis", FormatShort},
                                             {"", "Minimum", FormatShort},
                                             {"", "Maximum", FormatShort}});
    for (const ColumnSummary& c : summary.columns)
        if (c.IsNumeric()) {
            numbers.rows.push_back({c.name, c.mean, c.stdDeviation, c.skewness, c.kurtosis, c.minimum, c.maximum});
            numbers.drawing += Sparkline(c.bins) + "\n";
        }
    if (options.quantiles.empty()) return;
    std::vector<ResultTable::Column> heads{{"", "Column"}};
    for (const double share : options.quantiles) heads.push_back({"", FormatShort(100.0 * share) + " %", FormatShort});
    heads.push_back({"", "Error up to"});
    ResultTable& quantiles = results.AddTable("", "Quantiles", std::move(heads));
    for (const ColumnSummary& c : summary.columns) {
        if (!c.IsNumeric()) continue;
        std::vector<Item> row{c.name};
        for (const Quantile& q : c.quantiles) row.emplace_back(q.value);
        row.emplace_back(
            c.quantileError == 0.0 ? "exact" : ToText(100.0 * c.quantileError, std::chars_format::general, 2) + " %");
        quantiles.rows.push_back(std::move(row));
    }
}

void AddLevels(const Summary& summary, Results& results)
{
    const bool anyMissing =
        std::ranges::any_of(summary.columns, [](const ColumnSummary& c) { return !c.missingCodes.empty(); });
    if (anyMissing) {
        ResultTable& missing =
            results.AddTable("missingValues", "Missing values by their code",
                             {{"column", "Column"}, {"code", "Code"}, {"cases", "Cases", FormatCount}});
        for (const ColumnSummary& c : summary.columns)
            for (const auto& [code, cases] : c.missingCodes)
                missing.rows.push_back({c.name, code.empty() ? std::string("(empty)") : code, cases});
    }
    if (std::ranges::all_of(summary.columns, [](const ColumnSummary& c) { return c.levels.empty(); })) return;
    ResultTable& levels = results.AddTable(
        "levels", "Most frequent values",
        {{"column", "Column"}, {"value", "Value"}, {"cases", "Cases", FormatCount}, {"share", "%", FormatPercent}});
    for (const ColumnSummary& c : summary.columns)
        for (const auto& [text, cases] : c.levels)
            if (cases > 1.0 || c.different <= static_cast<double>(c.levels.size()))
                levels.rows.push_back({c.name, text, cases, cases / c.values});
}

void AddCorrelations(const Summary& summary, Results& results)
{
    if (summary.correlations.empty()) return;
    ResultTable& all = results.AddTable(
        "correlations", "",
        {{"first", ""}, {"second", ""}, {"cases", ""}, {"correlation", ""}, {"t", ""}, {"significance", ""}});
    const auto row = [&](const Correlation& c) {
        const PairStatistics& pair = c.statistics;
        return std::vector<Item>{summary.columns[At(c.first)].name,
                                 summary.columns[At(c.second)].name,
                                 pair.cases,
                                 pair.correlation,
                                 pair.t,
                                 pair.significance};
    };
    for (const Correlation& c : summary.correlations) all.rows.push_back(row(c));

    constexpr std::size_t kShown = 20;
    std::vector<Correlation> strongest;
    for (const Correlation& c : summary.correlations)
        if (!MCMV::IsMissing(c.statistics.correlation)) strongest.push_back(c);
    std::ranges::stable_sort(strongest, [](const Correlation& a, const Correlation& b) {
        return std::fabs(a.statistics.correlation) > std::fabs(b.statistics.correlation);
    });
    const bool cut = strongest.size() > kShown;
    if (cut) strongest.resize(kShown);
    ResultTable& shown = results.AddTable("", cut ? "The strongest correlations" : "Correlations",
                                          {{"", "Column"},
                                           {"", "with"},
                                           {"", "Cases", FormatCount},
                                           {"", "Correlation", FormatCorrelation},
                                           {"", "t", FormatShort},
                                           {"", "Significance", FormatSignificance}});
    for (const Correlation& c : strongest) shown.rows.push_back(row(c));
    shown.notes.push_back(
        "each from the cases that have both values" +
        (cut ? "; all " + std::to_string(summary.correlations.size()) + " with --format json" : std::string()));
}

} // namespace

Results Report(const Options& options, const Description& data, const Summary& summary)
{
    std::string what = options.merge                   ? std::to_string(options.inputs.size()) + " saved states"
                       : options.inputs.front() == "-" ? "standard input"
                                                       : options.inputs.front();
    Results results("describe", "Description of " + Printable(what));
    ResultList& counts = results.AddList("counts");
    counts.Add("rows", "Rows", static_cast<double>(data.rows), FormatCount);
    if (data.hasFrequency || data.hasWeight) {
        counts.Add("unweighted", "  left out: a weight is missing or not positive",
                   static_cast<double>(data.unweighted), FormatCount);
        counts.Add("cases", "Cases", Rounded(data.cases), FormatCount);
    }
    counts.Add("", "Columns", static_cast<double>(data.columns.size()), FormatCount);
    AddColumns(options, summary, results);
    AddNumbers(options, summary, results);
    AddLevels(summary, results);
    ResultTable& bins = results.AddTable("histograms", "", {{"column", ""}, {"from", ""}, {"to", ""}, {"cases", ""}});
    for (const ColumnSummary& c : summary.columns)
        for (const Bin& bin : c.bins) bins.rows.push_back({c.name, Rounded(bin.from), Rounded(bin.to), bin.cases});
    AddCorrelations(summary, results);
    return results;
}

// ---------------------------------------------------------------------------------------------------------------------
// The document

namespace {

using MCXML_930::MCStatXMLUtil;
using MCXML_930::MCVariateData;
using MCXML_930::XMLElement;

XMLElement* CreateColumn(const ColumnSummary& c)
{
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Column");
    block->AddElement(MCStatXMLUtil::CreateElemCounts(c.values + c.missing, c.missing, 0.0, c.different));
    AddStatistic(*block, "name", c.name);
    AddStatistic(*block, "kind", c.kind);
    AddStatistic(*block, "why", c.why);
    AddStatistic(*block, "distinctIsExact", TrueOrFalse(c.differentIsExact));
    for (const auto& [code, cases] : c.missingCodes) AddStatistic(*block, ("missing:" + Legal(code)).c_str(), cases);
    if (!c.IsNumeric()) return block;
    AddStatistic(*block, "numbers", c.numbers);
    AddStatistic(*block, "mean", c.mean);
    AddStatistic(*block, "stdDeviation", c.stdDeviation);
    AddStatistic(*block, "skewness", c.skewness);
    AddStatistic(*block, "kurtosis", c.kurtosis);
    AddStatistic(*block, "minimum", c.minimum);
    AddStatistic(*block, "maximum", c.maximum);
    for (const Quantile& q : c.quantiles) AddStatistic(*block, QuantileName(q.share).c_str(), q.value);
    AddStatistic(*block, "quantileError", c.quantileError);
    AddStatistic(*block, "rankError", c.rankError);
    return block;
}

XMLElement* CreateBars(const ColumnSummary& c)
{
    MCVariateData data{"Distribution of " + Legal(c.name), {}, {}};
    if (!c.bins.empty()) {
        for (const char* const feature : {"from", "to", "frequency"})
            data.fVariables.push_back({feature, Legal(c.name), "", {}});
        for (const Bin& bin : c.bins) {
            data.fVariables[0].fValues.push_back(Rounded(bin.from));
            data.fVariables[1].fValues.push_back(Rounded(bin.to));
            data.fVariables[2].fValues.push_back(bin.cases);
        }
    }
    return MCStatXMLUtil::CreateElemVarData(data);
}

XMLElement* CreateCorrelations(const Summary& summary)
{
    std::vector<int> columns;
    for (const Correlation& c : summary.correlations) {
        if (columns.empty()) columns.push_back(c.first);
        if (columns.back() < c.second) columns.push_back(c.second);
    }
    const auto n = columns.size();
    std::vector<double> correlations;
    std::vector<double> cases;
    std::size_t next = 0;
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            const bool own = i == j;
            correlations.push_back(own ? 1.0 : summary.correlations[next].statistics.correlation);
            cases.push_back(own ? summary.columns[At(columns[i])].numbers
                                : summary.correlations[next].statistics.cases);
            if (!own) ++next;
        }
    const auto matrix = [&](const std::vector<double>& values, const char* kind) {
        const auto labels = [&](const char* dimension) {
            std::vector<XMLElement*> list;
            for (const int column : columns)
                list.push_back(MCStatXMLUtil::CreateElemLabel(Legal(summary.columns[At(column)].name)));
            return MCStatXMLUtil::CreateElemRowColLabels(dimension, list);
        };
        return MCStatXMLUtil::CreateElemMatrix(MCStatXMLUtil::CreateElemMatrixLabels({labels("row"), labels("column")}),
                                               {}, MCStatXMLUtil::CreateElemArray(values), nullptr,
                                               static_cast<unsigned>(n), static_cast<unsigned>(n), kind, true);
    };
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Correlations");
    block->AddElement(matrix(correlations, "correlation"));
    block->AddElement(matrix(cases, "cases"));
    return block;
}

} // namespace

void WriteDocument(const Options& options, const Description& data, const Summary& summary, std::ostream& out)
{
    const std::unique_ptr<XMLElement> root(MCStatXMLUtil::BuildRoot());
    root->AddElement(CreateSettings(options.settings));
    XMLElement* const counts = MCStatXMLUtil::CreateElemStructuredData("Data");
    AddStatistic(*counts, "rows", static_cast<double>(data.rows));
    AddStatistic(*counts, "unweighted", static_cast<double>(data.unweighted));
    AddStatistic(*counts, "cases", Rounded(data.cases));
    root->AddElement(counts);
    for (const ColumnSummary& c : summary.columns) {
        root->AddElement(CreateColumn(c));
        if (!c.bins.empty()) root->AddElement(CreateBars(c));
    }
    if (!summary.correlations.empty()) root->AddElement(CreateCorrelations(summary));
    MCXML_930::WriteTreeUTF8(out, nullptr, root.get(), true);
    out << '\n';
}

// ---------------------------------------------------------------------------------------------------------------------
// The page

namespace {

constexpr double kPanelWidth = 300.0;
constexpr double kPanelHeight = 210.0;
constexpr int kPanelsInRow = 3;
constexpr double kMargin = 24.0;
constexpr double kHead = 70.0;

void DrawHistogram(const Svg& page, double left, double top, const ColumnSummary& c)
{
    const double width = kPanelWidth - 2.0 * kMargin;
    constexpr double kHeight = 96.0;
    double highest = 0.0;
    for (const Bin& bin : c.bins) highest = std::max(highest, bin.cases);
    const double step = width / static_cast<double>(c.bins.size());
    const double bottom = top + kHeight;
    for (std::size_t i = 0; i < c.bins.size(); ++i) {
        const double height = kHeight * c.bins[i].cases / highest;
        page.Rectangle(left + step * static_cast<double>(i) + 0.5, bottom - height, std::max(0.5, step - 1.0), height,
                       colours::kBlue);
    }
    page.Path({{left, bottom}, {left + width, bottom}}, colours::kAxisLine, 1.0);
    page.Text(left, bottom + 15.0, FormatShort(c.bins.front().from), 11.0, colours::kSoftInk);
    page.Text(left + width, bottom + 15.0, FormatShort(c.bins.back().to), 11.0, colours::kSoftInk,
              {{"text-anchor", "end"}});
}

void DrawLevels(const Svg& page, double left, double top, const ColumnSummary& c)
{
    const double width = kPanelWidth - 2.0 * kMargin;
    constexpr double kName = 110.0;
    constexpr double kBar = 20.0;
    constexpr std::size_t kShown = 5;
    for (std::size_t i = 0; i < std::min(kShown, c.levels.size()); ++i) {
        const auto& [text, cases] = c.levels[i];
        const double place = top + kBar * static_cast<double>(i);
        page.Text(left + kName - 6.0, place + 12.0, Svg::Cut(text, 11.0, kName - 8.0), 11.0, colours::kInk,
                  {{"text-anchor", "end"}});
        const double bar = std::max(0.5, (width - kName - 44.0) * cases / c.levels.front().second);
        page.Rectangle(left + kName, place, bar, kBar - 5.0, colours::kBlue);
        page.Text(left + kName + bar + 5.0, place + 12.0, FormatPercent(cases / c.values) + "%", 11.0,
                  colours::kSoftInk);
    }
}

} // namespace

void WritePage(const Options& options, const Description& data, const Summary& summary, std::ostream& out)
{
    const auto nRows = (summary.columns.size() + kPanelsInRow - 1) / kPanelsInRow;
    const double width = kPanelsInRow * kPanelWidth;
    const std::string title =
        "Description of " + (options.merge ? std::string("saved states") : options.inputs.front());
    const Svg page(width, kHead + kPanelHeight * static_cast<double>(nRows), title);
    page.Text(kMargin, 34.0, Svg::Cut(title, 19.0, width - 2.0 * kMargin), 19.0, colours::kInk,
              {{"font-weight", "600"}});
    page.Text(kMargin, 55.0,
              FormatCount(Rounded(data.cases)) + " cases, " + std::to_string(summary.columns.size()) + " columns", 13.0,
              colours::kSoftInk);
    for (std::size_t i = 0; i < summary.columns.size(); ++i) {
        const ColumnSummary& c = summary.columns[i];
        const double left = kMargin + kPanelWidth * static_cast<double>(i % kPanelsInRow);
        const double top = kHead + kPanelHeight * static_cast<double>(i / kPanelsInRow);
        const double room = kPanelWidth - 2.0 * kMargin;
        page.Text(left, top + 16.0, Svg::Cut(c.name, 14.0, room), 14.0, colours::kInk, {{"font-weight", "600"}});
        std::string line = c.kind;
        if (c.missing > 0.0) line += ", " + FormatPercent(c.missing / (c.missing + c.values)) + "% missing";
        page.Text(left, top + 33.0, line, 11.5, colours::kSoftInk);
        if (c.IsNumeric() && c.kind != "constant") {
            DrawHistogram(page, left, top + 44.0, c);
            page.Text(left, top + 174.0,
                      Svg::Cut("mean " + FormatShort(c.mean) +
                                   (MCMV::IsMissing(c.stdDeviation) ? std::string()
                                                                    : ", deviation " + FormatShort(c.stdDeviation)),
                               11.5, room),
                      11.5, colours::kSoftInk);
        } else {
            DrawLevels(page, left, top + 50.0, c);
            page.Text(left, top + 174.0, Svg::Cut(c.why, 11.5, room), 11.5, colours::kSoftInk);
        }
    }
    page.Write(out);
}

} // namespace describe
