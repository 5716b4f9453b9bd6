// What the programs read: CSV text, cells, formulas and the cases of a model.
#include "Input.h"

#include "common/Cell.h"
#include "common/CsvTable.h"
#include "common/Failure.h"
#include "common/Formula.h"
#include "common/Results.h"
#include "model/CaseReader.h"

using namespace procedure;

namespace {

using Rows = std::vector<std::vector<std::string>>;

Rows ReadRows(CsvReader& reader)
{
    Rows rows;
    std::int64_t line = 0;
    while (const auto* const row = reader.NextRow()) {
        REQUIRE(reader.Line() > line);
        line = reader.Line();
        rows.emplace_back(row->begin(), row->end());
    }
    return rows;
}

void ReadText(char delimiter, std::string_view text)
{
    MCMath_930::MCCancelInfo cancel;
    Rows rows;
    {
        InputFile file(PathOf(text), cancel);
        CsvReader reader(file, delimiter);
        rows = ReadRows(reader);
        reader.Restart();
        REQUIRE(ReadRows(reader) == rows);
    }
    // Written between quotes, the fields are read as they were.
    std::string copy;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) copy += delimiter;
            copy += '"';
            for (const char c : row[i]) copy.append(c == '"' ? 2 : 1, c);
            copy += '"';
        }
        copy += '\n';
    }
    InputFile file(PathOf(copy), cancel);
    CsvReader reader(file, delimiter);
    REQUIRE(ReadRows(reader) == rows);
    // And by the programs' own quotes.
    if (rows.empty() || delimiter != ',') return;
    std::string line;
    for (const std::string& field : rows[0])
        line.append(line.empty() && &field == &rows[0][0] ? "" : ",").append(CsvField(field));
    if (rows[0].size() > 1 || !rows[0][0].empty()) REQUIRE(SplitCsvRow(line) == rows[0]);
}

void ReadCell(Input& input)
{
    const bool comma = input.Bool();
    double value = 7.0, again = 7.0;
    const std::string text(input.Rest());
    Quoted(text);
    if (ParseCell(text, value, comma) != Cell::Number) return;
    REQUIRE(std::isfinite(value));
    char shortest[40];
    std::snprintf(shortest, sizeof shortest, "%.17g", value);
    REQUIRE(ParseCell(shortest, again) == Cell::Number && SameBits(value, again));
}

std::string Between(const std::string& name)
{
    for (const char quote : {'"', '\'', '`'})
        if (name.find(quote) == std::string::npos) return quote + name + quote;
    return {};
}

void ReadFormula(const std::string& text)
{
    const auto others = [](const std::string&) { return std::vector<std::string>{"p", "q", "r"}; };
    const Formula formula = ParseFormula(text, others);
    if (formula.terms.size() > 100) return;
    std::string again = Between(formula.target) + (formula.intercept ? " ~ 1" : " ~ 0");
    for (const FormulaTerm& term : formula.terms) {
        REQUIRE(!term.empty());
        again += '+';
        for (std::size_t i = 0; i < term.size(); ++i)
            again.append(i > 0 ? ":" : "")
                .append(Between(term[i].name))
                .append("^")
                .append(std::to_string(term[i].power));
    }
    const Formula read = ParseFormula(again, others);
    REQUIRE(read.target == formula.target && read.intercept == formula.intercept && read.terms == formula.terms);
}

/// Reads the cases twice, and for predictions: the same columns, values within them.
void ReadCases(Input& input)
{
    model::ModelOptions options;
    options.target = "y";
    const int roles = input.Byte();
    if (roles & 1) options.frequency = "f";
    if (roles & 2) options.weight = "w";
    if (roles & 4) options.factors = {"a"};
    if (roles & 8) options.keep = {"b"};
    if (roles & 16) options.event = "1";
    if (roles & 32) options.format.delimiter = ';', options.format.decimalComma = true;
    if (roles & 64) options.format.missing = {"-9"};
    options.intercept = !(roles & 128);
    static constexpr std::array<const char*, 8> kFormulas = {
        "", "y ~ .", "y ~ a", "y ~ a*b", "y ~ a + b + a:b + b^2", "y ~ (a+b+c)^3", "y ~ c:a", "y ~ a:b:c - 1"};
    options.formula = kFormulas[input.Index(kFormulas.size())];
    MCMath_930::MCCancelInfo cancel;
    InputFile file(PathOf(input.Rest()), cancel);
    model::Design design(options.intercept);
    model::CaseReader reader(file, options, design);
    const auto readAll = [&] {
        std::vector<double> all;
        model::CaseBlock block;
        while (reader.NextBlock(block)) {
            if (block.cases == 0) continue;
            std::vector<double> row(static_cast<std::size_t>(block.columns));
            for (int i = 0; i < block.cases; ++i) {
                model::FillDesignRow(block, static_cast<std::size_t>(i), {}, row.data());
                row.resize(static_cast<std::size_t>(design.NColumns()));
                all.insert(all.end(), row.begin(), row.end());
                row.resize(static_cast<std::size_t>(block.columns));
            }
        }
        return all;
    };
    readAll();
    const model::CaseCounts counts = reader.Counts();
    REQUIRE(counts.rows == counts.used + counts.missing + counts.unweighted);
    if (counts.used == 0) return;
    design.FinishLevels({});
    for (const model::Parameter& parameter : design.Parameters()) parameter.Name();
    REQUIRE(design.NDeterminable() <= design.NParameters());
    Variables(options, design).ToString();
    reader.Restart();
    reader.CarryRests();
    const std::vector<double> second = readAll();
    REQUIRE(reader.Counts() == counts);
    reader.Restart();
    REQUIRE(SameBits(readAll(), second));
    reader.RestartForPredictions();
    readAll();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size < 2) return 0;
    Input input(bytes, size);
    try {
        switch (input.Byte() % 4) {
        case 0: {
            static constexpr std::array<char, 4> kDelimiters = {',', ';', '\t', '|'};
            const char delimiter = kDelimiters[input.Index(kDelimiters.size())];
            ReadText(delimiter, input.Rest());
            break;
        }
        case 1: ReadCell(input); break;
        case 2: ReadFormula(std::string(input.Rest())); break;
        default: ReadCases(input);
        }
    } catch (const Failure&) {
        // That is what input which cannot be used ends with; a check that does not hold aborts.
    }
    return 0;
}
