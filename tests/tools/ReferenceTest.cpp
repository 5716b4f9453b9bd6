// The programs beside R: tests/data/programs/expected.csv, which reference/program_tables.R makes.
#include "Json.h"

#include <map>
#include <sstream>

namespace {

const std::string kFolder = MODELCORE_TEST_DATA "/programs/";
const std::string kData = kFolder + "data.csv";

/// Where a program shows a quantity of the table, and how far it may be from R's.
struct Quantity {
    const char* quantity;
    const char* table; ///< with the name as its row; "model" and the like: one object, the name being the field
    const char* field;
    double tolerance; ///< relative
};

struct ModelCase {
    const char* model; ///< as the table names it
    const char* program;
    std::vector<std::string> arguments;
};

const ModelCase kModels[] = {
    {"logit", LOGREG_PROGRAM, {kData, "--model", "y ~ x + f + x:f", "--tests", "lr"}},
    {"probit", LOGREG_PROGRAM, {kData, "--model", "y ~ x + f*g", "--link", "probit", "--frequency", "n"}},
    {"cloglog", LOGREG_PROGRAM, {kData, "--target", "y", "--predictors", "x,g", "--link", "cloglog", "--weight", "n"}},
    {"crossed", LINREG_PROGRAM, {kData, "--model", "z ~ x + x^2 + f*g"}},
    {"weighted", LINREG_PROGRAM, {kData, "--model", "z ~ x*f", "--weight", "w"}},
    {"empty", LINREG_PROGRAM, {kData, "--model", "z ~ f*h"}},
    {"score", EVALUATE_PROGRAM, {kData, "--target", "y", "--score", "s", "--frequency", "n"}},
    {"number", EVALUATE_PROGRAM, {kData, "--target", "z", "--score", "s", "--frequency", "n", "--regression"}},
    {"describe", DESCRIBE_PROGRAM, {kData, "--frequency", "n", "--columns", "x,z"}},
};

const Quantity kQuantities[] = {
    {"estimate", "coefficients", "estimate", 1e-9},
    {"stdError", "coefficients", "stdError", 1e-9},
    {"wald", "terms", "wald", 1e-7},
    {"ratio", "terms", "ratio", 1e-8},
    {"F", "terms", "f", 1e-9},
    {"SS", "terms", "sumOfSquares", 1e-9},
    {"model", "model", "", 1e-11},
    {"roc", "evaluation", "", 1e-12},
    {"error", "evaluation", "", 1e-12},
    {"z", "columns", "", 1e-11},
    {"pair", "correlations", "", 1e-10},
};

struct Expected {
    std::string quantity, name;
    double value;
};

std::map<std::string, std::vector<Expected>> ExpectedOfR()
{
    std::map<std::string, std::vector<Expected>> all;
    std::istringstream file(ReadFile(kFolder + "expected.csv"));
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        std::string fields[4];
        std::istringstream row(line);
        for (std::string& field : fields) std::getline(row, field, ',');
        all[fields[0]].push_back({fields[1], fields[2], std::stod(fields[3])});
    }
    return all;
}

void ExpectClose(double value, double expected, double tolerance)
{
    EXPECT_LE(std::fabs(value - expected), tolerance * std::max(std::fabs(expected), 1e-3))
        << value << " for " << expected;
}

} // namespace

TEST(Reference, ProgramsAgreeWithR)
{
    const auto expected = ExpectedOfR();
    for (const ModelCase& model : kModels) {
        const MCXML_930::JsonObject json = JsonOf(model.program, model.arguments);
        int compared = 0;
        for (const Expected& one : expected.at(model.model))
            for (const Quantity& where : kQuantities) {
                if (one.quantity != where.quantity) continue;
                SCOPED_TRACE(std::string(model.model) + " " + one.quantity + " " + one.name);
                const bool isField = *where.field == '\0';
                const std::string row = !isField                 ? one.name
                                        : one.quantity == "z"    ? "z"
                                        : one.quantity == "pair" ? "x"
                                                                 : "";
                // Of the two columns, x is described first: their pair is (x, z) or (z, x) as the file has them.
                double value = NumberIn(json, where.table, row, isField ? one.name : where.field);
                if (one.quantity == "pair" && std::isnan(value)) value = NumberIn(json, where.table, "z", one.name);
                ExpectClose(value, one.value, where.tolerance);
                ++compared;
            }
        EXPECT_GT(compared, 0) << model.model;
    }
}

TEST(Reference, PredictionsAgreeWithR)
{
    struct PredictionCase {
        const char* model;
        const char* program;
        const char* formula;
        std::vector<std::pair<const char*, int>> columns; ///< quantity and its place in the file
    };
    const PredictionCase cases[] = {
        {"crossed",
         LINREG_PROGRAM,
         "z ~ x + x^2 + f*g",
         {{"prediction", 2}, {"residual", 3}, {"predictionError", 4}, {"lower", 5}, {"leverage", 7}}},
        {"logit", LOGREG_PROGRAM, "y ~ x + f + x:f", {{"probability", 2}, {"predictionError", 4}}},
    };
    const auto expected = ExpectedOfR();
    for (const PredictionCase& c : cases)
        for (const char* const threads : {"1", "3"}) {
            const TemporaryFolder folder;
            const std::string path = folder.File("p.csv");
            const ProgramResult result = RunProgram(
                {c.program, kData, "--model", c.formula, "--predictions", path, "--threads", threads, "--quiet"});
            ASSERT_EQ(result.status, 0) << result.err;
            std::vector<std::vector<double>> rows;
            std::istringstream file(ReadFile(path));
            std::string line;
            std::getline(file, line);
            while (std::getline(file, line)) {
                std::vector<double>& row = rows.emplace_back();
                std::istringstream fields(line);
                for (std::string field; std::getline(fields, field, ',');) row.push_back(std::stod(field));
            }
            ASSERT_EQ(rows.size(), 240u);
            int compared = 0;
            for (const Expected& one : expected.at(c.model))
                for (const auto& [quantity, place] : c.columns)
                    if (one.quantity == quantity) {
                        SCOPED_TRACE(one.quantity + " " + one.name);
                        const std::size_t row = std::stoul(one.name) - 1;
                        ExpectClose(rows[row][static_cast<std::size_t>(place)], one.value, 1e-8);
                        ++compared;
                    }
            EXPECT_GE(compared, 4) << c.model;
        }
}

TEST(Reference, UnivariateSetsOfNistReachTheStatedDigits)
{
    struct Set {
        const char* name;
        double mean, stdDeviation;
    };
    for (const Set& set : {Set{"Lew", -177.4350, 277.332168044316}, Set{"Michelso", 299.852400, 0.0790105478190518}}) {
        const MCXML_930::JsonObject json =
            JsonOf(DESCRIBE_PROGRAM, {std::string(MODELCORE_TEST_DATA "/strd/") + set.name + ".csv"});
        ExpectClose(NumberIn(json, "columns", "y", "mean"), set.mean, 1e-12);
        ExpectClose(NumberIn(json, "columns", "y", "stdDeviation"), set.stdDeviation, 1e-11);
    }
    // Numerical accuracy 4: 1001 values about 1e7 with deviation 0.1.
    std::string rows = "y\n10000000.2\n";
    for (int i = 0; i < 500; ++i) rows += "10000000.1\n10000000.3\n";
    const MCXML_930::JsonObject json = JsonOf(DESCRIBE_PROGRAM, {"-"}, rows);
    ExpectClose(NumberIn(json, "columns", "y", "mean"), 10000000.2, 1e-12);
    ExpectClose(NumberIn(json, "columns", "y", "stdDeviation"), 0.1, 1e-8); // the decimals are not in the doubles
}
