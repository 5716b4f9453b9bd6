#include "accumulators/AccumulatorsTesting.h"
#include "support/AllKernels.h"
#include "support/MovedFrom.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <fstream>
#include <functional>
#include <numeric>
#include <sstream>

namespace {

/// A sum of products of three doubles in digits of 16 bits, by the rules of school.
class Plain {
public:
    void Add(double a, double b, double c)
    {
        if (a == 0.0 || b == 0.0 || c == 0.0) return;
        long long m[3];
        int exponent = 16 * kZero;
        const double factors[] = {a, b, c};
        for (int i = 0; i < 3; ++i) {
            int each = 0;
            m[i] = static_cast<long long>(std::ldexp(std::frexp(std::fabs(factors[i]), &each), 53));
            exponent += each - 53;
        }
        const int shift = exponent % 16;
        const long long sign = ((a < 0.0) != (b < 0.0)) != (c < 0.0) ? -1 : 1;
        const auto digit = [](long long number, int k) { return number >> (16 * k) & 0xffff; };
        for (int i = 0; i < 5; ++i) {
            const long long first = (i == 0 ? m[0] << shift : m[0] >> std::min(16 * i - shift, 63)) & 0xffff;
            for (int j = 0; j < 4; ++j)
                for (int k = 0; k < 4; ++k)
                    fDigits[static_cast<std::size_t>(exponent / 16 + i + j + k)] +=
                        sign * first * digit(m[1], j) * digit(m[2], k);
        }
        Carry();
    }

    /// As states are written.
    std::string Text() const
    {
        Plain magnitude = *this;
        const bool negative = magnitude.fDigits.back() < 0;
        if (negative) {
            for (long long& d : magnitude.fDigits) d = -d;
            magnitude.Carry();
        }
        const auto bit = [&](std::size_t k) { return k < 16 * kCount ? magnitude.fDigits[k / 16] >> (k % 16) & 1 : 0; };
        std::size_t low = 0, top = 16 * kCount;
        while (low < top && bit(low) == 0) ++low;
        while (top > low && bit(top - 1) == 0) --top;
        if (low == top) return "0";
        std::string digits;
        for (std::size_t k = low; k < top; k += 4)
            digits += "0123456789abcdef"[bit(k) + 2 * bit(k + 1) + 4 * bit(k + 2) + 8 * bit(k + 3)];
        std::reverse(digits.begin(), digits.end());
        return (negative ? "-" : "") + digits + "p" + std::to_string(static_cast<int>(low) - 16 * kZero);
    }

private:
    static constexpr int kZero = 220;
    static constexpr std::size_t kCount = 440;

    // The last digit keeps the sign.
    void Carry()
    {
        for (std::size_t i = 0; i + 1 < kCount; ++i) {
            fDigits[i + 1] += fDigits[i] >> 16;
            fDigits[i] &= 0xffff;
        }
    }

    std::array<long long, kCount> fDigits{};
};

using Values = std::function<double(TestRandom&)>;

double Wide(TestRandom& random, int low, int high)
{
    return std::ldexp(random.Uniform(1.0, 2.0), low + random.Below(high - low)) * (random.Below(2) == 0 ? 1.0 : -1.0);
}

/// Numbers whose slices of 22 bits are as large as they can be.
double Edge(TestRandom& random)
{
    double x = 0.0;
    for (int slice = 0, slices = 1 + random.Below(3); slice < slices; ++slice)
        x += std::ldexp((random.Below(2) == 0 ? 1.0 : -1.0) * (0x1p21 - 0.5 * random.Below(4)), -22 * slice);
    return x;
}

/// Two slices of that many bits, both nearly as large as they can be and of one sign: the largest sums of products there
/// are. Of slices of 22 bits they are just below 2^53; were slices a bit wider, these data would show it.
template <int kBits>
double OneSided(TestRandom& random)
{
    const auto slice = [&] { return std::ldexp(1.0, kBits - 1) - 1.0 - random.Below(4); };
    const double high = slice();
    return high + std::ldexp(slice(), -kBits);
}

double Normal(TestRandom& random)
{
    return std::sqrt(-2.0 * std::log(random.Uniform(0x1p-60, 1.0))) * std::cos(random.Uniform(0.0, 6.3));
}

const Values kNone = [](TestRandom&) { return 1.0; };
const Values kCounts = [](TestRandom& r) { return r.Below(5); };
const Values kReal = [](TestRandom& r) { return r.Uniform(-0.2, 3.0); };

struct DataCase {
    const char* name;
    int rows;
    std::vector<Values> columns;
    Values weight;
};

const Values kBit = [](TestRandom& r) { return r.Below(2); };
const Values kCents = [](TestRandom& r) { return 1e7 + r.Below(100000000); };
const Values kPrice = [](TestRandom& r) { return (100 + r.Below(90000)) / 100.0; };
const Values kZero = [](TestRandom&) { return 0.0; };
const Values kConstant = [](TestRandom&) { return -3.7; };
const Values kTail = [](TestRandom& r) { return r.Below(300) == 0 ? Wide(r, -90, 3) : r.Below(19) / 8.0; };
const Values kFull = [](TestRandom&) { return 0x1.fffffffffffffp0; };
const Values kEqualEdge = [](TestRandom&) { return 0x1p21 - 1.5 + 0x1p-24; };
const Values kPastEdge = [](TestRandom&) { return 1.5 - 0x1p21; };
const Values kWide = [](TestRandom& r) { return Wide(r, -100, 100); };
const Values kAny = [](TestRandom& r) { return Wide(r, -1073, 1023); };
const Values kExtremes = [](TestRandom& r) {
    const double values[] = {5e-324, 1e-310, -3e-320, DBL_MAX, -1.2e308, 0.0, 1.0, 1e300, 1e-300};
    return values[r.Below(9)];
};

const DataCase kData[] = {
    {"few kinds", 1300, {kBit, kCents, kPrice, Normal, kZero, kConstant}, kNone},
    {"few kinds, counted", 1300, {kBit, kCents, kPrice, Normal, kConstant}, kCounts},
    {"few kinds, weighted", 1300, {kBit, kCents, kPrice, Normal, kZero}, kReal},
    {"normal, combined", 700, std::vector<Values>(9, Normal), kNone},
    {"edges, combined", 2100, std::vector<Values>(7, Edge), kNone},
    {"edges of one sign", 1024, std::vector<Values>(7, OneSided<22>), kNone},
    {"edges of one sign, if wider", 1024, std::vector<Values>(7, OneSided<23>), kNone},
    {"edges", 1100, std::vector<Values>(3, Edge), kNone},
    {"equal edges", 1024, {kEqualEdge, kFull, kPastEdge, kEqualEdge, kFull, kPastEdge, kFull, kFull}, kNone},
    {"equal edges, weighted", 1024, {kEqualEdge, kFull, kPastEdge}, kPastEdge},
    {"many weighted", 200, std::vector<Values>(45, Edge), kReal},
    {"rare tails", 1500, std::vector<Values>(4, kTail), kNone},
    {"wide", 600, std::vector<Values>(3, kWide), kNone},
    {"wide, weighted", 600, {kWide, kBit}, [](TestRandom& r) { return Wide(r, -30, 30); }},
    {"any", 300, std::vector<Values>(3, kAny), kNone},
    {"extremes", 700, {kExtremes, kBit, kExtremes}, kExtremes},
};

/// Rows of p values and the weight.
std::vector<Doubles> MakeRows(const DataCase& data, TestRandom& random)
{
    std::vector<Doubles> rows;
    for (int r = 0; r < data.rows; ++r) {
        rows.emplace_back();
        for (const Values& column : data.columns) rows.back().push_back(column(random));
        rows.back().push_back(data.weight(random));
    }
    return rows;
}

MCRectMatrix Block(const std::vector<Doubles>& rows, std::size_t first, std::size_t last)
{
    MCRectMatrix block(static_cast<int>(last - first), static_cast<int>(rows[0].size()));
    for (std::size_t r = first; r < last; ++r) block.SetRow(static_cast<int>(r - first), rows[r]);
    return block;
}

/// The texts of all sums in the order of a state.
std::vector<std::string> PlainTexts(const std::vector<Doubles>& rows)
{
    std::vector<std::string> texts;
    const std::size_t p = rows[0].size() - 1;
    for (std::size_t i = 0; i <= p; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            Plain sum;
            for (const Doubles& row : rows) sum.Add(row[p], i == 0 ? 1.0 : row[i - 1], j == 0 ? 1.0 : row[j - 1]);
            texts.push_back(sum.Text());
        }
    return texts;
}

std::string TextsOf(const std::vector<std::string>& texts)
{
    std::string all;
    for (const std::string& text : texts) all += "\t\t<item type=\"String\" value=\"" + text + "\"/>\n";
    return all;
}

} // namespace

TEST(MCExactXProducts, SumsAreExactInEveryOrderAndPartition)
{
    TestRandom random(17);
    for (const DataCase& data : kData) {
        SCOPED_TRACE(data.name);
        std::vector<Doubles> rows = MakeRows(data, random);
        const int p = static_cast<int>(data.columns.size());
        const MCExactXProducts none(p, true, true, false);
        MCExactXProducts whole = none;
        ForEachKernelSet([&] { ASSERT_TRUE(whole.Compute(Block(rows, 0, rows.size()), 0)); });
        const std::string expected = Saved(whole);
        EXPECT_NE(expected.find(TextsOf(PlainTexts(rows))), std::string::npos);

        std::vector<MCExactXProducts> parts;
        for (int round = 0; round < 12; ++round) {
            for (std::size_t r = rows.size() - 1; r > 0; --r)
                std::swap(rows[r], rows[static_cast<std::size_t>(random.Below(static_cast<int>(r) + 1))]);
            parts.assign(static_cast<std::size_t>(1 + random.Below(4)), none);
            for (std::size_t first = 0, last = 0; first < rows.size(); first = last) {
                last = std::min(rows.size(), first + 1 + static_cast<std::size_t>(random.Below(700)));
                MCExactXProducts& part = parts[static_cast<std::size_t>(random.Below(static_cast<int>(parts.size())))];
                if (last - first > 5 || round % 2 == 0)
                    ASSERT_TRUE(part.Update(Block(rows, first, last), 0));
                else
                    for (std::size_t r = first; r < last; ++r) ASSERT_TRUE(part.AddCase(rows[r], rows[r].back()));
            }
            MCExactXProducts total = none;
            std::vector<const MCExactXProducts*> list;
            for (const MCExactXProducts& part : parts) list.push_back(&part);
            if (round % 3 == 0)
                EXPECT_TRUE(total.Merge(list));
            else
                for (const MCExactXProducts& part : parts) EXPECT_TRUE(total.Merge(part));
            EXPECT_EQ(Saved(total), expected);
            EXPECT_TRUE(total.Equal(whole));

            // Rows are taken away as exactly.
            ASSERT_TRUE(total.Remove(Block(rows, 1, rows.size()), 0));
            MCExactXProducts one = none;
            ASSERT_TRUE(one.AddCase(rows[0], rows[0].back()));
            EXPECT_EQ(Saved(total), Saved(one));
            ASSERT_TRUE(total.DeleteCase(rows[0], rows[0].back()));
            EXPECT_EQ(Saved(total), Saved(none));
        }
    }
}

// One case has the product of two doubles as its cross product, two have half their sum as mean: what the processor
// rounds correctly. A quotient of integers is rounded by it as well.
TEST(MCExactXProducts, ResultsAreRoundedCorrectly)
{
    TestRandom random(4);
    MCSymMatrix high, low;
    Doubles means, rests;
    for (int round = 0; round < 3000; ++round) {
        const double x = Wide(random, -560, 520), y = Wide(random, -560, 520), z = x * Wide(random, -3, 3);
        MCExactXProducts raw(2, false, false, false);
        ASSERT_TRUE(raw.AddCase({x, y}, 1.0) && raw.GetXProds(high, low));
        EXPECT_EQ(high.GetElem(1, 0), x * y);
        if (std::fabs(x * y) > 1e-280 && std::fabs(x * y) < 1e300) {
            EXPECT_EQ(low.GetElem(1, 0), std::fma(x, y, -(x * y)));
        }
        MCExactXProducts two(1, true, true, false);
        ASSERT_TRUE(two.AddCase({x}, 1.0) && two.AddCase({z}, 1.0) && two.GetMeans(means, rests));
        EXPECT_EQ(means[0], 0.5 * (x + z));

        // n ones among w cases: the mean is n/w, the centred product n - n*n/w.
        const int n = random.Below(1000), w = n + 1 + random.Below(1 << (round % 20));
        MCExactXProducts shares(1, true, true, false);
        ASSERT_TRUE(shares.AddCase({1.0}, n) && shares.AddCase({0.0}, w - n) && shares.GetMeans(means, rests));
        EXPECT_EQ(means[0], static_cast<double>(n) / w);
        EXPECT_EQ(rests[0], -std::fma(means[0], w, -n) / w);
        ASSERT_TRUE(shares.GetXProds(high, low));
        EXPECT_EQ(high.GetElem(0, 0), static_cast<double>(static_cast<long long>(n) * (w - n)) / w);
    }
    // n*h / (h + l) with h >> l: every digit of the quotient is guessed one too large. It is n - n*l/h and less.
    for (const double n : {3.0, 7.0, 4294967295.0})
        for (const double h : {0x1p96, 0x1p97, 0x1p127})
            for (const double l : {1.0, 5.0, 2097151.0}) {
                MCExactXProducts near(1, true, true, false);
                ASSERT_TRUE(near.AddCase({n}, h) && near.AddCase({0.0}, l) && near.GetMeans(means, rests));
                EXPECT_TRUE(means[0] == n && rests[0] == -n * l / h) << n << " " << h << " " << l << " " << rests[0];
            }
    // What a two-pass sum loses: deviations of 1 beside a mean of 1e15, exact zeros for a constant column.
    MCExactXProducts far(2, true, true, false);
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(far.AddCase({1e15 + i % 2, 0.1}, 1.0));
    ASSERT_TRUE(far.GetXProds(high));
    EXPECT_EQ(high.GetElem(0, 0), 250.0);
    EXPECT_EQ(high.GetElem(1, 0), 0.0);
    EXPECT_EQ(high.GetElem(1, 1), 0.0);
}

TEST(MCExactXProducts, RefusalsChangeNothing)
{
    TestRandom random(8);
    const MCRectMatrix good = RandomBlock(random, 1800, 3, 2);
    MCExactXProducts data(3, true, true, true);
    ASSERT_TRUE(data.Update(good, 700));
    const std::string before = Saved(data);
    for (const double bad : {kNan, HUGE_VAL, -HUGE_VAL, MCCommon_930::MCMV::Missing()})
        for (const int row : {0, 700, 1535, 1536, 1799})
            for (const int column : {0, 2, 3, 4}) {
                MCRectMatrix X = good;
                X.SetElem(row, column, bad);
                EXPECT_FALSE(data.Update(X, 0));
                EXPECT_FALSE(data.Remove(X, 0));
                EXPECT_FALSE(data.Compute(X, 0));
                EXPECT_FALSE(data.AddCase({1.0, bad, 2.0}, 1.0));
                EXPECT_FALSE(data.DeleteCase({1.0, 2.0, 3.0}, bad));
                ASSERT_EQ(Saved(data), before);
            }
    EXPECT_FALSE(data.Update(MCRectMatrix(2, 4), 0));
    EXPECT_FALSE(data.AddCase({1.0, 2.0}, 1.0));
    EXPECT_FALSE(data.AppendZeroVars(-1));
    EXPECT_FALSE(data.AppendZeroVars(MCSymMatrix::kMaxRows));
    for (const std::vector<int>& wrong : {std::vector<int>{0, 1}, {0, 1, 1}, {-1, 0, 1}, {0, 1, 4}, {0, 1, 2, 3}})
        EXPECT_FALSE(data.Expand(wrong, 4));
    EXPECT_FALSE(data.Expand({0, 1, 2}, MCSymMatrix::kMaxRows + 1));
    EXPECT_FALSE(data.Merge(MCExactXProducts(2, true, true, true)));
    EXPECT_FALSE(data.Merge(MCExactXProducts(3, false, true, true)));
    MCSymMatrix products(1);
    Doubles means{7.0};
    EXPECT_FALSE(MCExactXProducts(3, true, false, false).GetXProds(products));
    EXPECT_FALSE(MCExactXProducts(3, true, false, false).GetMeans(means));
    EXPECT_EQ(means, Doubles{7.0});
    std::vector<MCExtended> extendedMeans;
    MCExtendedSym extendedProducts;
    EXPECT_FALSE(MCExactXProducts(1, true, false, false).GetExtended({{0, -1}}, extendedMeans, extendedProducts));
    EXPECT_FALSE(data.GetExtended({{0, 3}}, extendedMeans, extendedProducts));
    EXPECT_EQ(Saved(data), before);
    const auto look = [](const MCExactXProducts& each) { return Saved(each); };
    ExpectWholeWhenMemoryRunsOut(
        data, data, [&](MCExactXProducts& each) { each.Update(good, 0); }, look);
    ExpectWholeWhenMemoryRunsOut(
        data, data, [&](MCExactXProducts& each) { each.Merge(data); }, look);
    ExpectWholeWhenMemoryRunsOut(
        data, data, [](MCExactXProducts& each) { each.AppendZeroVars(2); }, look);
    ExpectWholeWhenMemoryRunsOut(
        data, data,
        [](MCExactXProducts& each) {
            each.Expand({3, 1, 0}, 4);
        },
        look);
}

// Rows by columns, and variables that turn up late, are the same as all rows by rows.
TEST(MCExactXProducts, ColumnsAndLateVariables)
{
    TestRandom random(9);
    for (const int rows : {1, 7, 8, 511, 512, 513, 2000}) {
        const MCRectMatrix X = RandomBlock(random, rows, 3, 0);
        MCRectMatrix wide(rows, 5);
        Doubles columns(static_cast<std::size_t>(3 * (rows + 3)));
        for (int r = 0; r < rows; ++r)
            for (int j = 0; j < 3; ++j) {
                wide.SetElem(r, j, X.GetElem(r, j));
                columns[static_cast<std::size_t>(j * (rows + 3) + r)] = X.GetElem(r, j);
            }
        MCExactXProducts byRows(3, true, false, false), byColumns = byRows, late(5, true, false, false);
        ASSERT_TRUE(byRows.Update(X, 0) && late.Update(wide, 0));
        ASSERT_TRUE(byColumns.UpdateColumns(columns.data(), static_cast<std::size_t>(rows + 3),
                                            static_cast<std::size_t>(rows), nullptr));
        EXPECT_TRUE(byRows.Equal(byColumns));
        byColumns.Clear();
        EXPECT_EQ(Saved(byColumns), Saved(MCExactXProducts(3, true, false, false)));
        for (const MCExactXProducts& other :
             {byColumns, late, MCExactXProducts(3, false, false, false), MCExactXProducts(3, true, true, false),
              MCExactXProducts(3, true, false, true), MCExactXProducts()})
            EXPECT_FALSE(byRows.Equal(other));
        MCExactXProducts first(3, true, false, false), one = first;
        ASSERT_TRUE(first.Update(X, 1) && one.AddCase({X.GetElem(0, 0), X.GetElem(0, 1), X.GetElem(0, 2)}, 1.0));
        EXPECT_TRUE(first.Equal(one));
        ASSERT_TRUE(byRows.AppendZeroVars(2));
        EXPECT_TRUE(byRows.Equal(late));
        ASSERT_TRUE(byRows.Update(wide, 0) && late.Update(wide, 0));
        EXPECT_EQ(Saved(byRows), Saved(late));
        MCExactXProducts moved = byRows, again = late;
        ASSERT_TRUE(again.AddCase({0.5, -1e9, 3.0, 0.0, 0.0}, 2.0) && moved.AddCase({0.5, -1e9, 3.0, 0.0, 0.0}, 2.0));
        ASSERT_TRUE(moved.Expand({4, 0, 6, 1, 5}, 7));
        MCSymMatrix there, here;
        Doubles means, expected;
        ASSERT_TRUE(moved.GetXProds(there) && again.GetXProds(here) && here.Expand({4, 0, 6, 1, 5}, 7));
        EXPECT_TRUE(SameBits(Doubles(there.AsSpan().begin(), there.AsSpan().end()),
                             Doubles(here.AsSpan().begin(), here.AsSpan().end())));
        ASSERT_TRUE(moved.GetMeans(means) && again.GetMeans(expected));
        EXPECT_EQ(means, (Doubles{expected[1], 0.0, 0.0, 0.0, expected[0], 0.0, expected[2]}));
    }
}

// A text of another form would be another state with the same sums.
TEST(MCExactXProducts, OnlyCanonicalNumbersAreRead)
{
    const std::string path = ::testing::TempDir() + "MCExactXProducts.xml";
    MCExactXProducts data(0, true, false, false);
    for (const char* text : {"-1f3p-12", "0", "1p4000", "2p0", "-0", "0p0", "1p4096", "1p-4097", "01p0", "1P0", "1p+1",
                             "1p", "p1", "1p1 ", "1p-2147483648", "1p99999999999", "g1p0", "--1p0", ""}) {
        std::ofstream(path) << "<MCExactXProducts>\n<item value=\"0\"/>\n<item value=\"true\"/>\n"
                               "<item value=\"false\"/>\n<item value=\"false\"/>\n"
                               "<item type=\"String\" value=\""
                            << text << "\"/>\n</MCExactXProducts>\n";
        std::ifstream file(path);
        const bool canonical =
            std::string(text) == "-1f3p-12" || std::string(text) == "0" || std::string(text) == "1p4000";
        EXPECT_EQ(data.ReadObjectXML(file), canonical ? 7 : 0) << text;
        if (!canonical) continue;
        EXPECT_NE(Saved(data).find(std::string("\"") + text + "\""), std::string::npos);
    }
    std::remove(path.c_str());
}

namespace {

/// The rows of a file of numbers with a header.
std::vector<Doubles> ReadTable(const std::string& path)
{
    std::ifstream file(path);
    std::vector<Doubles> rows;
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
        rows.emplace_back();
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');) rows.back().push_back(std::stod(cell));
    }
    return rows;
}

double Digits(double value, double certified)
{
    return std::min(15.0, -std::log10(std::fabs(value - certified) / std::fabs(certified)));
}

} // namespace

// A polynomial of degree 10 (Filippelli; tests/data/strd). Its powers as doubles are another problem, of which the exact
// solution has 7 digits of the certified one; with each power as the sum of two doubles it is the problem itself.
// The lower half of a pair may stand in any column.
TEST(MCExactXProducts, PairsOfColumnsInAnyOrder)
{
    MCExactXProducts ahead(3, true, false, false), behind(ahead);
    TestRandom random(12);
    for (int r = 0; r < 20; ++r) {
        const double high = random.Uniform(-1.0, 1.0), low = 1e-3 * random.Uniform(-1.0, 1.0), y = random.Uniform(0, 1);
        ASSERT_TRUE(ahead.AddCase({low, high, y}, 1.0) && behind.AddCase({high, y, low}, 1.0));
    }
    std::vector<MCExtended> here, there;
    MCExtendedSym products, others;
    ASSERT_TRUE(ahead.GetExtended({{1, 0}, {2, -1}}, here, products));
    ASSERT_TRUE(behind.GetExtended({{0, 2}, {1, -1}}, there, others));
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j <= i; ++j) {
            const MCExtended one = products.GetElem(i, j), other = others.GetElem(i, j);
            EXPECT_TRUE(one.high == other.high && one.low == other.low && one.low != 0.0) << i << j;
        }
    ASSERT_TRUE(behind.GetExtended({{1, -1}, {0, 2}}, there, others)); // the pair last
    EXPECT_TRUE(others.GetElem(1, 0).low == products.GetElem(1, 0).low && there[1].low == here[0].low);

    // Without an intercept the products themselves: of 1 + 2^-60 and 3, twice.
    MCExactXProducts raw(3, false, true, false);
    ASSERT_TRUE(raw.AddCase({0x1p-60, 1.0, 3.0}, 2.0) && raw.GetExtended({{1, 0}, {2, -1}}, here, products));
    EXPECT_TRUE(here[0].high == 1.0 && here[0].low == 0x1p-60 && here[1].high == 3.0 && here[1].low == 0.0);
    const MCExtended square = products.GetElem(0, 0), product = products.GetElem(1, 0);
    EXPECT_TRUE(square.high == 2.0 && square.low == 0x1p-58 && product.high == 6.0 && product.low == 0x1.8p-58);
}

TEST(MCExactXProducts, PairsOfColumnsSolveFilip)
{
    const std::vector<Doubles> table = ReadTable(MODELCORE_TEST_DATA "/strd/Filip.csv");
    ASSERT_EQ(table.size(), 82u);
    constexpr int kDegree = 10;
    MCExactXProducts sums(1 + 2 * kDegree, true, false, false);
    for (const Doubles& row : table) {
        Doubles x(1 + 2 * kDegree);
        x[0] = row[0];
        MCExtended power{1.0};
        for (std::size_t k = 1; k <= kDegree; ++k) {
            power = power * MCExtended{row[1]};
            x[k] = power.high;
            x[kDegree + k] = power.low;
        }
        ASSERT_TRUE(sums.AddCase(x, 1.0));
    }
    const double b10 = -0.402962525080404e-4, b1 = -2772.17959193342;
    for (const bool pairs : {true, false}) {
        std::vector<MCColumnPair> variables;
        for (int k = 1; k <= kDegree; ++k) variables.push_back({k, pairs ? kDegree + k : -1});
        variables.push_back({0, -1});
        std::vector<MCExtended> means;
        MCExtendedSym s;
        ASSERT_TRUE(sums.GetExtended(variables, means, s));
        std::vector<double> diagonal;
        s.GetDiagonal(diagonal);
        MCBitSet swept(kDegree + 1);
        for (int k = 0; k < kDegree; ++k) ASSERT_TRUE(s.Sweep(k, 1e-20, diagonal, swept, true)) << k;
        const double least = std::min(Digits(s.GetElem(kDegree, 0).high, b1), Digits(s.GetElem(kDegree, 9).high, b10));
        EXPECT_GE(least, pairs ? 13.5 : 7.0);
        EXPECT_LE(least, pairs ? 15.0 : 9.0);
        EXPECT_GE(Digits(s.GetElem(kDegree, kDegree).high, 0.795851382172941e-3), pairs ? 13.5 : 7.0);
    }
    std::vector<MCExtended> means(1);
    MCExtendedSym s(1);
    for (const MCColumnPair& wrong : {MCColumnPair{-1, 0}, {0, 21}, {21, -1}, {0, -2}})
        EXPECT_FALSE(sums.GetExtended({wrong}, means, s));
    EXPECT_TRUE(means.size() == 1 && s.GetNRows() == 1);
}
