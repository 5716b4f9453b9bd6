// What linreg computes: certified results, an independent least-squares solution, and forms of the same data that must
// give the same fit.
#include "Linreg.h"
#include "support/Random.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <map>
#include <sstream>

namespace {

double CorrectDigits(double value, double certified)
{
    const double error = std::fabs(value - certified);
    if (error == 0.0) return 15.0;
    if (std::isnan(error)) return -15.0;
    return std::min(15.0, -std::log10(certified == 0.0 ? error : error / std::fabs(certified)));
}

std::map<std::string, double> Certified(const std::string& set)
{
    std::map<std::string, double> values;
    std::istringstream file(ReadFile(MODELCORE_TEST_DATA "/strd/certified.csv"));
    for (std::string line; std::getline(file, line);) {
        const std::size_t first = line.find(',');
        const std::size_t second = line.find(',', first + 1);
        if (line.substr(0, first) == set)
            values[line.substr(first + 1, second - first - 1)] = std::stod(line.substr(second + 1));
    }
    return values;
}

struct CertifiedSet {
    const char* name;
    std::vector<std::string> arguments;
    std::vector<std::string> parameters; // in the order of B0 or B1, ...
    int firstIndex;
    double digits[2][2]; // of coefficients and standard errors, from two readings and from one
};

const std::string kLongley = EXAMPLES_DATA "/longley.csv";
const std::string kStrd = MODELCORE_TEST_DATA "/strd/";

const CertifiedSet kRegressions[] = {
    {"Norris", {kStrd + "Norris.csv", "--target", "y"}, {"(Intercept)", "x"}, 0, {{11.5, 13}, {11, 9}}},
    {"NoInt1", {kStrd + "NoInt1.csv", "--target", "y", "--no-intercept"}, {"x"}, 1, {{13, 13}, {13, 12}}},
    {"Longley",
     {kLongley, "--target", "TOTEMP"},
     {"(Intercept)", "GNPDEFL", "GNP", "UNEMP", "ARMED", "POP", "YEAR"},
     0,
     {{12, 12}, {11, 11}}},
};

TEST(LinregCertified, RegressionsReachTheStatedDigits)
{
    for (const CertifiedSet& set : kRegressions) {
        const std::map<std::string, double> certified = Certified(set.name);
        for (const bool onePass : {false, true}) {
            SCOPED_TRACE(std::string(set.name) + (onePass ? " --one-pass" : ""));
            std::vector<std::string> arguments = set.arguments;
            if (onePass) arguments.push_back("--one-pass");
            const std::string document = LinregDocument(arguments);
            for (std::size_t k = 0; k < set.parameters.size(); ++k) {
                const std::string b = std::string("B").append(std::to_string(static_cast<int>(k) + set.firstIndex));
                const auto digits = [&](const char* what, const std::string& key) {
                    return CorrectDigits(ParameterStatistic(document, set.parameters[k], what), certified.at(key));
                };
                EXPECT_GE(digits("estimate", b), set.digits[onePass][0]) << b;
                EXPECT_GE(digits("stdError", "se_" + b), set.digits[onePass][1]) << b;
            }
            for (const auto& [ours, theirs] : std::map<std::string, std::string>{{"rSquared", "r_squared"},
                                                                                 {"F", "F"},
                                                                                 {"stdErrorOfEstimate", "residual_sd"},
                                                                                 {"regressionSS", "ss_reg"},
                                                                                 {"residualSS", "ss_res"},
                                                                                 {"residualMS", "ms_res"}})
                EXPECT_GE(CorrectDigits(ModelStatistic(document, ours), certified.at(theirs)), onePass ? 8.5 : 12)
                    << ours;
            EXPECT_EQ(ModelStatistic(document, "regressionDF"), certified.at("df_reg"));
            EXPECT_EQ(ModelStatistic(document, "residualDF"), certified.at("df_res"));
        }
    }
}

std::string Polynomial(int degree)
{
    std::string model = "y ~ x";
    for (int k = 2; k <= degree; ++k) model += " + x^" + std::to_string(k);
    return model;
}

// In one reading, of data whose powers no double holds too.
TEST(LinregCertified, ExactFitsReachTheLastDigits)
{
    std::vector<CertifiedSet> sets(std::begin(kRegressions), std::end(kRegressions));
    for (CertifiedSet& set : sets) set.digits[0][0] = set.digits[0][1] = 13.5;
    sets.push_back({"NoInt2", {kStrd + "NoInt2.csv", "--target", "y", "--no-intercept"}, {"x"}, 1, {{14.5, 14.5}}});
    const auto add = [&](const char* name, int degree, double coefficients, double errors) {
        CertifiedSet set{name, {kStrd + name + ".csv", "--model", Polynomial(degree)}, {"(Intercept)", "x"}, 0, {}};
        for (int k = 2; k <= degree; ++k) set.parameters.push_back("x^" + std::to_string(k));
        set.digits[0][0] = coefficients;
        set.digits[0][1] = errors;
        sets.push_back(set);
    };
    add("Pontius", 2, 13, 13.5);
    add("Filip", 10, 13.5, 13.5);
    for (const char* const name : {"Wampler1", "Wampler2", "Wampler3", "Wampler4", "Wampler5"})
        add(name, 5, std::string(name) == "Wampler2" ? 13 : 14, 14);
    for (const CertifiedSet& set : sets) {
        SCOPED_TRACE(set.name);
        const std::map<std::string, double> certified = Certified(set.name);
        std::vector<std::string> arguments = set.arguments;
        arguments.push_back("--exact");
        const std::string document = LinregDocument(arguments);
        for (std::size_t k = 0; k < set.parameters.size(); ++k) {
            const std::string b = std::string("B").append(std::to_string(static_cast<int>(k) + set.firstIndex));
            const auto digits = [&](const char* what, const std::string& key) {
                return CorrectDigits(ParameterStatistic(document, set.parameters[k], what), certified.at(key));
            };
            EXPECT_GE(digits("estimate", b), set.digits[0][0]) << b;
            EXPECT_GE(digits("stdError", "se_" + b), set.digits[0][1]) << b;
        }
    }
}

// Where an inverse in doubles would leave no digit: leverages add up to the number of parameters.
TEST(LinregCertified, ExactPredictionsKeepTheDigitsOfTheFit)
{
    const TemporaryFolder folder;
    LinregDocument({kStrd + "Filip.csv", "--model", Polynomial(10), "--exact", "--predictions", folder.File("p.csv")});
    std::istringstream lines(ReadFile(folder.File("p.csv")));
    double leverages = 0.0, squares = 0.0;
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line);) {
        std::vector<double> cells; // row, y, prediction, residual, stdError, lower, upper, leverage
        std::istringstream row(line);
        for (std::string cell; std::getline(row, cell, ',');) cells.push_back(std::stod(cell));
        ASSERT_EQ(cells.size(), 8u);
        leverages += cells[7];
        squares += cells[3] * cells[3];
        EXPECT_NEAR(cells[4] * cells[4], cells[7] * 0.0000112091743968020, 1e-13 * cells[7]);
    }
    EXPECT_NEAR(leverages, 11.0, 1e-12);
    EXPECT_GE(CorrectDigits(squares, Certified("Filip").at("ss_res")), 12);
}

// Neither the order of the rows nor how they were parted shows in a byte of the document; a level turns up late, a
// combination of levels in one part alone.
TEST(LinregFit, ExactFitsAreTheSameInEveryOrderAndPartition)
{
    const TemporaryFolder folder;
    TestRandom random(77);
    const std::string header = "y,x,z,g,h,n,w\n";
    std::vector<std::string> rows;
    for (int i = 0; i < 5000; ++i) {
        char row[140];
        const double x = random.Uniform(-1e3, 1e3), z = random.Uniform(0.0, 1e-3);
        std::snprintf(row, sizeof row, "%.17g,%.17g,%.17g,%c,%c,%d,%.17g\n", x - 3e4 * z + random.Uniform(-1.0, 1.0), x,
                      z, "bbac"[i < 4500 ? 0 : i % 4], i == 4999 ? 'p' : "qr"[i % 2], 1 + random.Below(3),
                      random.Uniform(0.1, 2.0));
        rows.emplace_back(row);
    }
    const auto write = [&](const char* name, std::size_t first, std::size_t step) {
        std::string text = header;
        for (std::size_t i = first; i < rows.size(); i += step) text += rows[i];
        return folder.Write(name, text);
    };
    const std::vector<std::string> model{
        "--model", "y ~ x*g + g*h + z + x^2:z + x^3:g", "--frequency", "n", "--weight", "w", "--exact"};
    const auto fit = [&](const std::string& path, std::vector<std::string> more) {
        more.insert(more.begin(), path);
        more.insert(more.end(), model.begin(), model.end());
        return LinregDocument(more);
    };
    const std::string expected = fit(write("a.csv", 0, 1), {});
    for (std::size_t i = rows.size() - 1; i > 0; --i)
        std::swap(rows[i], rows[static_cast<std::size_t>(random.Below(static_cast<int>(i) + 1))]);
    EXPECT_EQ(fit(write("a.csv", 0, 1), {}), expected);
    std::vector<std::string> merge{"--merge"};
    for (std::size_t part = 0; part < 4; ++part) {
        const std::string state = folder.File(std::to_string(part) + ".json");
        fit(write("part.csv", part, 4), {"--save", state});
        merge.insert(merge.begin() + static_cast<std::ptrdiff_t>(1 + part / 2), state);
    }
    EXPECT_EQ(LinregDocument(merge), expected);

    // States that are not whole, or not of the same kind.
    const std::string state = ReadFile(merge[1]);
    const std::size_t sums = state.find('\n') + 1;
    std::string other = state;
    other[state.find("p-", sums) + 2] = 'x';
    const std::string plain = folder.File("plain.json");
    LinregDocument(
        {write("part.csv", 0, 4), "--model", model[1], "--frequency", "n", "--weight", "w", "--save", plain});
    for (const std::string& bad :
         {folder.Write("1", state.substr(0, state.size() - 30)), folder.Write("2", state.substr(0, sums)),
          folder.Write("3", other), folder.Write("4", state + "x"), plain})
        EXPECT_EQ(Linreg({"--merge", merge[2], bad}).status, 2) << bad;
    EXPECT_EQ(Linreg({"--merge", plain, "--exact"}).status, 2);
}

TEST(LinregCertified, OneWayAnalysisOfVarianceThroughAFactor)
{
    const std::map<std::string, double> certified = Certified("SiRstv");
    const std::string document = LinregDocument({kStrd + "SiRstv.csv", "--target", "y", "--factors", "treatment"});
    EXPECT_GE(CorrectDigits(ModelStatistic(document, "F"), certified.at("F")), 12.5);
    EXPECT_GE(CorrectDigits(ModelStatistic(document, "residualSS"), certified.at("ss_within")), 12.5);
    EXPECT_GE(CorrectDigits(ModelStatistic(document, "regressionSS"), certified.at("ss_between")), 12.5);
    EXPECT_EQ(ModelStatistic(document, "regressionDF"), 4.0);
    EXPECT_EQ(ModelStatistic(document, "residualDF"), 20.0);
    // The indicators add up to the intercept: one is the reference, and none is aliased.
    const auto reference = [](const std::string& fit, const char* level) {
        return StatisticText(fit, std::string("<RegressionParameter name=\"treatment=") + level + '"', "reference");
    };
    EXPECT_EQ(reference(document, "1") + reference(document, "5"), "truefalse");
    EXPECT_EQ(document.find("aliased\" value=\"true\""), std::string::npos);
    const std::string last = LinregDocument(
        {kStrd + "SiRstv.csv", "--target", "y", "--factors", "treatment", "--reference", "last,treatment=2"});
    EXPECT_EQ(reference(last, "2") + reference(last, "5"), "truefalse");
}

// ---------------------------------------------------------------------------------------------------------------------
// Data with everything in it: two factors with awkward names, one of them with a level that first turns up in the third
// block, missing cells of each kind, weights that rule a case out, a large offset, CRLF.

struct Row {
    double y, x, z, weight;
    int frequency, size, place;
    int hole; // 0..9: which cell is missing; 10: weight 0; more: none
};

const char* const kSizes[] = {"\"small, \"\"S\"\"\"", "medium", "\"large\nsize\"", "007 & <x>"};
const char* const kPlaces[] = {"north", "s\u00FCd", "west"};
const char* const kHoles[] = {"", "NA", ".", "\"\"", " NA "};

std::vector<Row> MakeRows(int count)
{
    TestRandom random(20240229);
    std::vector<Row> rows;
    for (int i = 0; i < count; ++i) {
        Row row{};
        row.size = random.Below(i < 5000 ? 3 : 4);
        row.place = random.Below(3);
        row.x = 1e6 + std::floor(random.Uniform(0, 4096)) / 64;
        row.z = random.Uniform(-1, 1);
        row.y = 50 + 0.25 * (row.x - 1e6) - 3 * row.z + 2 * row.size - row.place + random.Uniform(-5, 5);
        row.frequency = 1 + random.Below(4);
        row.weight = random.Uniform(0.5, 2);
        row.hole = random.Below(100);
        rows.push_back(row);
    }
    return rows;
}

bool IsUsed(const Row& row)
{
    return row.hole > 10;
}

/// As CSV; grouped has a frequency column n, otherwise each row is written n times.
std::string ToCsv(const std::vector<Row>& rows, bool grouped)
{
    std::ostringstream text;
    text.precision(17);
    text << "\xEF\xBB\xBFsize,x,\"the y\",note,place,z,w" << (grouped ? ",n" : "") << "\r\n";
    for (const Row& row : rows) {
        const std::string missing = kHoles[row.hole % 5];
        std::ostringstream line;
        line.precision(17);
        const auto cell = [&](int pair, auto value, const char* after) {
            if (row.hole / 2 == pair)
                line << missing << after;
            else
                line << value << after;
        };
        cell(0, kSizes[row.size], ",");
        cell(1, row.x, ",");
        cell(2, row.y, ",no number here,");
        cell(3, kPlaces[row.place], ",");
        line << row.z << ',';
        cell(4, row.hole == 10 ? 0.0 : row.weight, "");
        if (grouped)
            text << line.str() << ',' << row.frequency << "\r\n";
        else
            for (int k = 0; k < row.frequency; ++k) text << line.str() << "\r\n";
    }
    return text.str();
}

std::vector<std::string> Messy(const std::string& path, const std::vector<std::string>& more)
{
    std::vector<std::string> arguments = {path, "--target", "the y", "--predictors", "size,x,place,z", "--weight", "w"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/// Weighted least squares by modified Gram-Schmidt in long double on the columns 1, size and place (each in sorted order
/// without its first level), x, z.
struct Reference {
    std::vector<long double> estimates, stdErrors;
    long double residualSS = 0;
    double cases = 0;
};

Reference SolveByGramSchmidt(const std::vector<Row>& rows)
{
    Reference result;
    std::vector<std::vector<long double>> columns(9); // the last is y
    for (const Row& row : rows) {
        if (!IsUsed(row)) continue;
        result.cases += row.frequency;
        const long double root = sqrtl(static_cast<long double>(row.weight) * row.frequency);
        const long double values[] = {1,
                                      row.size == 2 ? 1.0L : 0.0L,
                                      row.size == 1 ? 1.0L : 0.0L,
                                      row.size == 0 ? 1.0L : 0.0L,
                                      row.x - 1e6L,
                                      row.place == 1 ? 1.0L : 0.0L,
                                      row.place == 2 ? 1.0L : 0.0L,
                                      row.z,
                                      row.y};
        for (std::size_t j = 0; j < columns.size(); ++j) columns[j].push_back(root * values[j]);
    }
    const std::size_t p = columns.size() - 1;
    std::vector<std::vector<long double>> r(p + 1, std::vector<long double>(p + 1));
    const auto dot = [](const auto& a, const auto& b) {
        long double sum = 0;
        for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
        return sum;
    };
    for (std::size_t k = 0; k < p; ++k) {
        r[k][k] = sqrtl(dot(columns[k], columns[k]));
        for (long double& value : columns[k]) value /= r[k][k];
        for (std::size_t j = k + 1; j <= p; ++j) {
            r[k][j] = dot(columns[k], columns[j]);
            for (std::size_t i = 0; i < columns[j].size(); ++i) columns[j][i] -= r[k][j] * columns[k][i];
        }
    }
    result.residualSS = dot(columns[p], columns[p]);
    const long double s =
        sqrtl(result.residualSS / (static_cast<long double>(result.cases) - static_cast<long double>(p)));
    std::vector<std::vector<long double>> inverse(p, std::vector<long double>(p)); // of R
    for (std::size_t k = p; k-- > 0;) {
        for (std::size_t j = k; j < p; ++j) {
            long double value = j == k ? 1 : 0;
            for (std::size_t m = k + 1; m <= j; ++m) value -= r[k][m] * inverse[m][j];
            inverse[k][j] = value / r[k][k];
        }
    }
    for (std::size_t k = 0; k < p; ++k) {
        long double estimate = 0;
        for (std::size_t j = k; j < p; ++j) estimate += inverse[k][j] * r[j][p];
        result.estimates.push_back(estimate);
        result.stdErrors.push_back(s * sqrtl(dot(inverse[k], inverse[k])));
    }
    return result;
}

TEST(LinregFit, MessyDataMatchAnOrthogonalSolution)
{
    const TemporaryFolder folder;
    const std::vector<Row> rows = MakeRows(7000);
    const std::string path = folder.Write("messy.csv", ToCsv(rows, true));
    const Reference reference = SolveByGramSchmidt(rows);
    const std::string document = LinregDocument(Messy(path, {"--frequency", "n"}));

    // Names as the document writes them, references too.
    std::vector<std::string> names;
    const std::string key = "<RegressionParameter name=\"";
    for (std::size_t at = document.find(key); at != std::string::npos; at = document.find(key, at + 1))
        names.push_back(document.substr(at + key.size(), document.find('"', at + key.size()) - at - key.size()));
    ASSERT_EQ(names.size(), 10u);
    const std::size_t kept[] = {0, 2, 3, 4, 5, 7, 8, 9};
    for (std::size_t k = 1; k < std::size(kept); ++k) { // the intercept stands for another origin of x
        const std::string& name = names[kept[k]];
        const auto digits = [&](const char* what, long double exact) {
            return CorrectDigits(ParameterStatistic(document, name, what), static_cast<double>(exact));
        };
        EXPECT_GE(digits("estimate", reference.estimates[k]), 12.5) << name;
        EXPECT_GE(digits("stdError", reference.stdErrors[k]), 11.5) << name;
    }
    const long double intercept = reference.estimates[0] - 1e6L * reference.estimates[4];
    EXPECT_GE(CorrectDigits(ParameterStatistic(document, "(Intercept)", "estimate"), static_cast<double>(intercept)),
              12.5);
    EXPECT_GE(CorrectDigits(ModelStatistic(document, "residualSS"), static_cast<double>(reference.residualSS)), 13);
    EXPECT_EQ(ModelStatistic(document, "residualDF"), reference.cases - 8);
    EXPECT_EQ(StatisticText(document, "<RegressionParameter name=\"size=007 &amp; &lt;x&gt;", "reference"), "true");

    const auto count = [&](auto predicate) { return std::count_if(rows.begin(), rows.end(), predicate); };
    const auto used = count(IsUsed);
    const auto missing = count([](const Row& row) { return row.hole < 8; });
    std::ostringstream counts;
    counts << "<Counts totalFreq=\"7000\" missingFreq=\"" << missing << "\" invalidFreq=\"" << 7000 - used - missing
           << '"';
    EXPECT_NE(document.find(counts.str()), std::string::npos) << counts.str();
}

TEST(LinregFit, EveryNumberOfThreadsGivesTheSameBits)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("messy.csv", ToCsv(MakeRows(7000), true));
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, {"--one-pass"}, {"--no-intercept", "--frequency", "n"}}) {
        std::string table, document;
        for (const char* const threads : {"1", "2", "3", "7"}) {
            std::vector<std::string> arguments = Messy(path, options);
            arguments.insert(arguments.end(), {"--threads", threads, "--xml", folder.File("fit.xml")});
            const ProgramResult result = Linreg(arguments);
            ASSERT_EQ(result.status, 0) << result.err;
            if (table.empty()) {
                table = result.out;
                document = ReadFile(folder.File("fit.xml"));
            }
            EXPECT_EQ(result.out, table) << threads;
            EXPECT_EQ(ReadFile(folder.File("fit.xml")), document) << threads;
        }
    }
    EXPECT_EQ(LinregDocument(Messy("-", {"--threads", "2"}), ReadFile(path)), // a pipe is read once
              LinregDocument(Messy(path, {"--one-pass"})));
}

TEST(LinregFit, GroupedDataGiveTheFitOfUngroupedData)
{
    const TemporaryFolder folder;
    const std::vector<Row> rows = MakeRows(6000);
    const std::string grouped = folder.Write("grouped.csv", ToCsv(rows, true));
    const std::string ungrouped = folder.Write("ungrouped.csv", ToCsv(rows, false));
    for (const char* const option : {"--threads=1", "--no-intercept", "--one-pass"}) {
        SCOPED_TRACE(option);
        const std::string one = LinregDocument(Messy(grouped, {"--frequency", "n", option}));
        const std::string other = LinregDocument(Messy(ungrouped, {option}));
        const double digits = std::string(option) == "--one-pass" ? 9 : 12;
        for (const char* const name : {"(Intercept)", "x", "z", "place=west"}) {
            const double estimate = ParameterStatistic(other, name, "estimate");
            if (std::isnan(estimate)) continue;
            EXPECT_GE(CorrectDigits(ParameterStatistic(one, name, "estimate"), estimate), digits) << name;
            const double stdError = ParameterStatistic(other, name, "stdError");
            EXPECT_GE(CorrectDigits(ParameterStatistic(one, name, "stdError"), stdError), std::min(digits, 11.0))
                << name;
        }
        for (const char* const name : {"rSquared", "F", "residualSS"})
            EXPECT_GE(CorrectDigits(ModelStatistic(one, name), ModelStatistic(other, name)), digits) << name;
        EXPECT_EQ(ModelStatistic(one, "residualDF"), ModelStatistic(other, "residualDF"));
    }
}

TEST(LinregFit, DegreesOfFreedomCountTheRankAndMayRunOut)
{
    const TemporaryFolder folder;
    const std::string saturated = Linreg({folder.Write("a.csv", "y,x\n1,1\n3,2\n"), "--target", "y"}).out;
    EXPECT_NE(saturated.find("Residual                 0   0            ."), std::string::npos) << saturated;
    EXPECT_NE(saturated.find("x             2.000000           .  .             .            .            ."),
              std::string::npos)
        << saturated;

    // x2 = 2*x1 and a constant: one parameter is left besides the intercept.
    const std::string twins = LinregDocument(
        {folder.Write("b.csv", "x1,one,x2,y\n1,7,2,1\n2,7,4,3\n3,7,6,4\n4,7,8,8\n5,7,10,9\n"), "--target", "y"});
    EXPECT_EQ(ModelStatistic(twins, "regressionDF"), 1.0);
    EXPECT_EQ(ModelStatistic(twins, "residualDF"), 3.0);
    for (const char* const name : {"one", "x2"})
        EXPECT_EQ(StatisticText(twins, std::string("<RegressionParameter name=\"") + name, "aliased"), "true");

    // Each factor but the first brings one indicator that tells nothing new: three cases are enough for these.
    EXPECT_EQ(Linreg({folder.Write("d.csv", "y,f,g\n1,a,c\n2,b,c\n3,a,d\n"), "--target", "y"}).status, 0);

    // A perfect fit has residual sum of squares 0 and not a little less; F and t do not exist.
    const std::string perfect =
        LinregDocument({folder.Write("c.csv", "y,x\n2.5,1\n4.5,2\n6.5,3\n8.5,4\n"), "--target", "y", "--one-pass"});
    EXPECT_EQ(ModelStatistic(perfect, "residualSS"), 0.0);
    EXPECT_TRUE(std::isnan(ModelStatistic(perfect, "F")));
    EXPECT_EQ(ModelStatistic(perfect, "rSquared"), 1.0);
}

// ---------------------------------------------------------------------------------------------------------------------

TEST(LinregOutput, TheTableReadsAsAStatisticianExpects)
{
    const ProgramResult result =
        Linreg({kLongley, "--target", "TOTEMP", "--predictors", "GNP,YEAR", "--level", "0.99"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, R"(Linear regression of TOTEMP

Cases used                             16
Cases left out                          0
  a value is missing                    0
R squared                       0.9734556
Adjusted R squared              0.9693719
Standard error of the estimate   614.6258

Column    Role  Taken as  Levels
TOTEMP  target    number
GNP      input    number
YEAR     input    number

Analysis of variance
Source      Sum of squares  df  Mean square         F  Significance
Regression       180097882   2     90048941  238.3730     5.699e-11
Residual           4910944  13     377764.9
Total            185008826  15

Tests of the terms
Term  Type  Sum of squares  df         F  Significance
GNP    III         5545585   1  14.67999      0.002079
YEAR   III         1125196   1  2.978562      0.108047

Coefficients with 99% confidence limits
Parameter      Estimate  Std. error          t  Significance  Lower limit  Upper limit   Tolerance      VIF
(Intercept)     1198708    664521.4   1.803867      0.094463    -803013.7      3200430
GNP          0.06299296  0.01644103   3.831447      0.002079   0.01346803    0.1125179  0.00943069  106.037
YEAR          -592.3834    343.2413  -1.725851      0.108047    -1626.321     441.5541  0.00943069  106.037
)");
}

TEST(LinregOutput, TheDocumentIsWellFormedAndCanBeQueried)
{
    const std::string xmllint = XMLLINT_PROGRAM;
    if (xmllint.empty()) GTEST_SKIP() << "xmllint is not installed";
    const TemporaryFolder folder;
    const std::string path = folder.Write("messy.csv", ToCsv(MakeRows(500), true));
    const std::string document = folder.Write("fit.xml", LinregDocument(Messy(path, {"--frequency", "n"})));
    const auto query = [&](const std::string& xpath) {
        const ProgramResult result = RunProgram({xmllint, "--xpath", xpath, document});
        EXPECT_EQ(result.status, 0) << xpath << result.err;
        return result.out.substr(0, result.out.find('\n'));
    };
    EXPECT_EQ(RunProgram({xmllint, "--noout", "--schema", STATXML_SCHEMA, document}).status, 0);
    EXPECT_EQ(query("count(//*[local-name()='RegressionParameter'])"), "9"); // the fourth size is not among 500 rows
    EXPECT_EQ(query("string(//*[@name='(Intercept)']/@isIntercept)"), "true");
    EXPECT_EQ(query("string(//*[@name='x']/*[local-name()='Covariate']/@field)"), "x");
    EXPECT_EQ(query("string(//*[local-name()='Factor' and @field='place'][2]/@nest | "
                    "//*[local-name()='Factor'][@value='s\u00FCd']/@nest)"),
              "false");
    // Parsers must give names back as they were: quotes, commas and line breaks inside.
    EXPECT_EQ(query("count(//*[local-name()='RegressionParameter']/*[@value='small, \"S\"'])"), "1");
    EXPECT_EQ(query("count(//*[local-name()='RegressionParameter']/*[contains(@value,'large\nsize')])"), "1");
    EXPECT_EQ(query("string(//*[local-name()='Matrix']/@nbRows)"), "7");
    EXPECT_EQ(query("count(//*[local-name()='Matrix']//*[local-name()='Label'])"), "14");
}

} // namespace
