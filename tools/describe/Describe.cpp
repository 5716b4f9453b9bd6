#include "Describe.h"

#include "common/CsvTable.h"
#include "common/Failure.h"
#include "common/Workers.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <numeric>
#include <utility>

namespace describe {

using namespace procedure;
using MCCommon_930::MCMV;
using MCMath_930::ExactProduct;
using MCMath_930::MCCancelInfo;
using MCXML_930::JsonObject;

namespace {

/// The results depend on where one block ends and the next begins, so this is a constant and no option.
constexpr int kRowsPerBlock = 2048;
constexpr const char* kStateFormat = "describe state 1";

struct Block {
    int rows = 0;
    std::vector<double> values;       ///< row by row, a number or missing for each column
    std::vector<std::uint32_t> texts; ///< row by row: 0 for a number, else 1 + the place of its text in starts
    std::string text;
    std::vector<std::uint32_t> starts;
    std::vector<std::uint8_t> missing; ///< parallel to starts: whether the text stands for no value
    std::vector<double> frequencies;
    std::vector<double> weights;
    std::vector<int> numeric; ///< as in Description, after the block's last row
    std::vector<double> shifts;

    std::string_view Text(std::uint32_t number) const
    {
        const std::size_t i = number - 1;
        const std::size_t end = i + 1 < starts.size() ? starts[i + 1] : text.size();
        return std::string_view(text).substr(starts[i], end - starts[i]);
    }
};

constexpr char kTooManyCases[] = "the frequencies add up to more than 2^1023";

struct BlockResult {
    std::vector<ColumnState> columns;
    double cases = 0.0;
    MCMath_930::MCRectMatrix rows;
    MCMath_930::MCMeansXProducts products;
    ExactMoments exact;
};

class Reader {
public:
    Reader(InputFile& input, const Options& options) : fOptions(options), fTable(input, options.format)
    {
        const auto place = [&](const std::string& name) {
            return name.empty() ? fTable.NColumns() : fTable.Find(name);
        };
        fFrequency = place(options.frequency);
        fWeight = place(options.weight);
        if (!options.frequency.empty() && fFrequency == fWeight)
            throw Failure("column " + Quoted(options.frequency) + " is given two roles");
        if (options.columns.empty()) {
            for (std::size_t i = 0; i < fTable.NColumns(); ++i)
                if (i != fFrequency && i != fWeight) fColumns.push_back(i);
        } else {
            for (const std::string& name : options.columns) fColumns.push_back(fTable.Find(name));
        }
        fSeen.resize(fColumns.size());
    }

    Description Start() const
    {
        Description out;
        out.hasFrequency = fFrequency < fTable.NColumns();
        out.hasWeight = fWeight < fTable.NColumns();
        for (const std::size_t column : fColumns) {
            ColumnState& state = out.columns.emplace_back();
            state.name = fTable.Name(column);
            state.sketch = MCMath_930::MCQuantileSketch(fOptions.sketch);
        }
        return out;
    }

    bool NextBlock(Block& block)
    {
        block.rows = 0;
        block.values.clear();
        block.texts.clear();
        block.text.clear();
        block.starts.clear();
        block.missing.clear();
        block.frequencies.clear();
        block.weights.clear();
        while (block.rows < kRowsPerBlock) {
            const std::vector<std::string_view>* const row = fTable.NextRow();
            if (row == nullptr) break;
            ++fRows;
            Append(*row, block);
        }
        block.numeric = fNumeric;
        block.shifts = fShifts;
        return block.rows > 0;
    }

    std::int64_t Rows() const { return fRows; }
    std::int64_t Unweighted() const { return fUnweighted; }
    const std::vector<int>& Numeric() const { return fNumeric; }
    const std::vector<double>& Shifts() const { return fShifts; }

private:
    void Append(const std::vector<std::string_view>& row, Block& block)
    {
        double frequency = 1.0;
        double weight = 1.0;
        if (fFrequency < row.size()) frequency = fTable.ReadNumber(fFrequency, row[fFrequency], "the frequency");
        if (fWeight < row.size()) weight = fTable.ReadNumber(fWeight, row[fWeight], "the weight");
        if (!(frequency > 0.0 && weight > 0.0)) {
            ++fUnweighted;
            return;
        }
        fCases += frequency;
        if (fCases > MCMath_930::MCQuantileSketch::kMostWeight) throw Failure(kTooManyCases);
        ++block.rows;
        block.frequencies.push_back(frequency);
        block.weights.push_back(weight);
        for (std::size_t j = 0; j < fColumns.size(); ++j) {
            const std::string_view text = row[fColumns[j]];
            double value = MCMV::Missing();
            const Cell cell = fTable.Parse(text, value);
            const bool isNumber = cell == Cell::Number;
            block.values.push_back(isNumber ? value : MCMV::Missing());
            if (isNumber) {
                block.texts.push_back(0);
                if (!fSeen[j]) {
                    fSeen[j] = true;
                    fNumeric.push_back(static_cast<int>(j));
                    fShifts.push_back(value);
                }
                continue;
            }
            block.starts.push_back(static_cast<std::uint32_t>(block.text.size()));
            block.missing.push_back(cell == Cell::Missing ? 1 : 0);
            block.text += text;
            block.texts.push_back(static_cast<std::uint32_t>(block.starts.size()));
        }
    }

    const Options& fOptions;
    CsvTable fTable;
    std::vector<std::size_t> fColumns;
    std::size_t fFrequency = 0;
    std::size_t fWeight = 0;
    std::int64_t fRows = 0;
    std::int64_t fUnweighted = 0;
    double fCases = 0.0; ///< the sum of the frequencies
    std::vector<bool> fSeen;
    std::vector<int> fNumeric;
    std::vector<double> fShifts;
};

[[noreturn]] void RefuseSize()
{
    throw Failure("a number or a weight is too large to be squared and summed");
}

void SummarizeExactly(const Block& block, const Description& start, BlockResult& out)
{
    const std::size_t nColumns = start.columns.size();
    std::vector<double> values, weights;
    out.exact.Start(nColumns);
    for (std::size_t j = 0; j < nColumns; ++j) {
        values.clear();
        weights.clear();
        for (std::size_t i = 0; i < At(block.rows); ++i) {
            const double x = block.values[i * nColumns + j];
            if (MCMV::IsMissing(x)) continue;
            values.push_back(x);
            weights.push_back(block.frequencies[i] * block.weights[i]);
        }
        if (!out.exact.AddColumn(j, values, weights)) RefuseSize();
    }
}

void SummarizeColumns(const Block& block, const Description& start, BlockResult& out)
{
    const std::size_t nColumns = start.columns.size();
    out.columns.assign(nColumns, ColumnState());
    out.cases = 0.0;
    for (const double frequency : block.frequencies) out.cases += frequency;
    for (std::size_t j = 0; j < nColumns; ++j) {
        ColumnState& column = out.columns[j];
        column.sketch = MCMath_930::MCQuantileSketch(start.columns[j].sketch.GetLimit());
        for (std::size_t i = 0; i < At(block.rows); ++i) {
            const std::uint32_t text = block.texts[i * nColumns + j];
            const double frequency = block.frequencies[i];
            if (text == 0) {
                const double x = block.values[i * nColumns + j];
                column.sums.Add(x, frequency, block.weights[i]);
                column.sketch.Update(x, frequency);
                if (std::floor(x) == x) column.wholeCases += frequency;
            } else if (block.missing[text - 1] != 0) {
                column.missing[std::string(block.Text(text))] += frequency;
            } else {
                column.textCases += frequency;
                column.texts.Add(block.Text(text), frequency);
            }
        }
    }
}

void SummarizePairs(const Block& block, const Description& start, const Options& options, BlockResult& out)
{
    const int stride = options.exact ? ExactMoments::Stride(start.hasWeight) : PairSums::Stride(start.hasWeight);
    const auto nNumeric = static_cast<int>(block.numeric.size());
    if (nNumeric > options.correlations) {
        out.products = {};
        out.exact.DropPairs();
        return;
    }
    const int nVars = stride * nNumeric;
    if (out.rows.GetNRows() != block.rows || out.rows.GetNCols() != nVars + 1)
        out.rows.SetNRowsCols(block.rows, nVars + 1);
    if (!options.exact && out.products.GetNVars() != nVars)
        out.products = MCMath_930::MCMeansXProducts(nVars, false, true, false);
    const std::size_t nColumns = start.columns.size();
    for (int i = 0; i < block.rows; ++i) {
        double* next = out.rows.GetRowPtr(i);
        for (std::size_t k = 0; k < block.numeric.size(); ++k) {
            const double x = block.values[At(i) * nColumns + At(block.numeric[k])];
            const bool there = !MCMV::IsMissing(x);
            const double d = !there ? 0.0 : options.exact ? x : x - block.shifts[k];
            *next++ = there ? 1.0 : 0.0;
            *next++ = d;
            *next++ = d * d;
            if (options.exact) *next++ = ExactProduct(d, d).low;
            if (start.hasWeight) *next++ = there ? 1.0 / std::sqrt(block.weights[At(i)]) : 0.0;
        }
        *next = block.frequencies[At(i)] * block.weights[At(i)];
    }
    if (!options.exact)
        out.products.Compute(out.rows, block.rows);
    else if (!out.exact.AddPairs(out.rows))
        RefuseSize();
}

Description ReadData(const Options& options, const std::string& path, Progress& progress, MCCancelInfo& cancel)
{
    InputFile input(path, cancel);
    Reader reader(input, options);
    const Description start = reader.Start();
    Description total = start;
    if (options.exact) total.exact.emplace().Start(start.columns.size());
    const auto size = static_cast<double>(input.Size());
    const auto maxNumeric = static_cast<std::size_t>(options.correlations);
    FoldBlocks<Block, BlockResult>(
        options.threads,
        [&](Block& block) {
            if (cancel.IsCancel()) throw Interrupted();
            const bool more = reader.NextBlock(block);
            progress.Show(size > 0.0 ? static_cast<double>(input.BytesRead()) / size : -1.0, reader.Rows());
            return more;
        },
        [&](const Block& block, BlockResult& out) {
            SummarizeColumns(block, start, out);
            if (options.exact) SummarizeExactly(block, start, out);
            SummarizePairs(block, start, options, out);
        },
        [&](const BlockResult& out) {
            total.cases += out.cases;
            for (std::size_t j = 0; j < total.columns.size(); ++j) total.columns[j].Merge(out.columns[j]);
            if (!options.exact && out.products.GetNVars() > 0) total.pairs.Append(out.products.GetXProds());
            if (!options.exact) return;
            const int stride = ExactMoments::Stride(start.hasWeight);
            std::vector<int> places(At(out.exact.NPairVariables() / stride));
            std::iota(places.begin(), places.end(), 0);
            total.exact->Merge(out.exact, places, static_cast<int>(places.size()), stride);
        });
    progress.Clear();
    total.rows = reader.Rows();
    total.unweighted = reader.Unweighted();
    total.numeric = reader.Numeric();
    total.shifts = reader.Shifts();
    total.pairsWereDropped = total.numeric.size() > maxNumeric;
    if (total.pairsWereDropped) total.DropPairs();
    return total;
}

Description ReadState(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Failure(path + ": cannot be opened");
    // A line, and behind it what is exact.
    std::string text;
    std::getline(file, text);
    JsonObject json;
    JsonObject::Problem problem;
    Description state;
    const auto refuse = [&] { throw Failure(path + ": no state that describe --save has written"); };
    bool isExact = false;
    if (JsonObject::Parse(text, json) && json["exact"].Read(isExact) && isExact) {
        if (!state.FromJson(json) || !state.exact.emplace().Read(file, state.columns.size())) refuse();
        const int stride = ExactMoments::Stride(state.hasWeight);
        const int nPairs = state.exact->NPairVariables();
        if (nPairs != 0 && nPairs != stride * static_cast<int>(state.numeric.size())) refuse();
        return state;
    }
    text.append("\n").append(std::istreambuf_iterator<char>(file), {});
    if (!JsonObject::Parse(text, json, &problem)) throw Failure(path + ": no saved state: " + problem.GetText());
    if (!state.FromJson(json)) refuse();
    return state;
}

} // namespace

void Description::Merge(const Description& other, const std::string& name)
{
    const auto refuse = [&](const std::string& why) {
        throw Failure(name + ": cannot be merged with the states before it: " + why);
    };
    if (columns.size() != other.columns.size()) refuse("it has other columns");
    for (std::size_t j = 0; j < columns.size(); ++j) {
        if (columns[j].name != other.columns[j].name)
            refuse("column " + std::to_string(j + 1) + " is " + Quoted(other.columns[j].name) + " and not " +
                   Quoted(columns[j].name));
        if (columns[j].sketch.GetLimit() != other.columns[j].sketch.GetLimit())
            refuse("it was made with another --sketch");
    }
    if (hasFrequency != other.hasFrequency || hasWeight != other.hasWeight) refuse("its weights are others");
    if (exact.has_value() != other.exact.has_value()) refuse("some have exact sums and some have not");
    if (cases + other.cases > MCMath_930::MCQuantileSketch::kMostWeight) refuse(kTooManyCases);

    rows += other.rows;
    unweighted += other.unweighted;
    cases += other.cases;
    for (std::size_t j = 0; j < columns.size(); ++j) columns[j].Merge(other.columns[j]);
    std::vector<int> places;
    for (std::size_t k = 0; k < other.numeric.size(); ++k) {
        const auto found = std::ranges::find(numeric, other.numeric[k]);
        places.push_back(static_cast<int>(found - numeric.begin()));
        if (found == numeric.end()) {
            numeric.push_back(other.numeric[k]);
            shifts.push_back(other.shifts[k]);
        }
    }
    pairsWereDropped = pairsWereDropped || other.pairsWereDropped;
    if (exact) exact->Merge(*other.exact, places, static_cast<int>(numeric.size()), ExactMoments::Stride(hasWeight));
    if (pairsWereDropped)
        DropPairs();
    else if (!exact)
        pairs.Merge(other.pairs, places, shifts, other.shifts, PairSums::Stride(hasWeight));
}

JsonObject Description::ToJson() const
{
    JsonObject json = JsonObject::NewObject();
    json.Set("format", kStateFormat);
    json.Set("rows", static_cast<long long>(rows));
    json.Set("unweighted", static_cast<long long>(unweighted));
    json.Set("cases", cases);
    json.Set("hasFrequency", hasFrequency);
    json.Set("hasWeight", hasWeight);
    json.Set("numeric", JsonObject::FromIntegers(numeric));
    json.Set("shifts", JsonObject::FromReals(shifts));
    json.Set("pairs", JsonObject::FromReals(pairs.GetState()));
    json.Set("pairsWereDropped", pairsWereDropped);
    if (exact) json.Set("exact", true);
    JsonObject list = JsonObject::NewArray();
    for (const ColumnState& column : columns) list.Append(column.ToJson());
    json.Set("columns", std::move(list));
    return json;
}

bool Description::FromJson(const JsonObject& json)
{
    Description state;
    std::string format;
    long long nRows = 0;
    long long nUnweighted = 0;
    std::vector<double> sums;
    if (!json["format"].Read(format) || format != kStateFormat || !json["rows"].Read(nRows) ||
        !json["unweighted"].Read(nUnweighted) || !json["cases"].Read(state.cases) ||
        !json["hasFrequency"].Read(state.hasFrequency) || !json["hasWeight"].Read(state.hasWeight) ||
        !json["numeric"].Read(state.numeric) || !json["shifts"].Read(state.shifts) || !json["pairs"].Read(sums) ||
        !json["pairsWereDropped"].Read(state.pairsWereDropped) || !json["columns"].IsArray() ||
        state.numeric.size() != state.shifts.size())
        return false;
    for (const JsonObject& one : json["columns"].Elements())
        if (!state.columns.emplace_back().FromJson(one)) return false;
    const auto nColumns = static_cast<int>(state.columns.size());
    if (std::ranges::any_of(state.numeric, [&](int column) { return column < 0 || column >= nColumns; })) return false;
    state.rows = nRows;
    state.unweighted = nUnweighted;
    state.pairs.SetState(std::move(sums));
    *this = std::move(state);
    return true;
}

namespace {

Description ReadStates(const Options& options, MCCancelInfo& cancel)
{
    Description total;
    for (std::size_t i = 0; i < options.inputs.size(); ++i) {
        if (cancel.IsCancel()) throw Interrupted();
        Description state = ReadState(options.inputs[i]);
        if (i == 0)
            total = std::move(state);
        else
            total.Merge(state, options.inputs[i]);
    }
    if (options.exact && !total.exact) throw Failure(options.inputs.front() + ": its sums are not exact");
    if (total.numeric.size() > static_cast<std::size_t>(options.correlations)) {
        total.pairsWereDropped = true;
        total.DropPairs();
    }
    return total;
}

} // namespace

Description Read(const Options& options, Progress& progress, MCCancelInfo& cancel)
{
    Description total =
        options.merge ? ReadStates(options, cancel) : ReadData(options, options.inputs.front(), progress, cancel);
    if (total.exact) total.exact->Finish();
    return total;
}

} // namespace describe
