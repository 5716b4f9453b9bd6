#include "accumulators/MeansTesting.h"
#include "modelcore/accumulators/MCProvMeans.h"
#include "support/AllKernels.h"
#include "support/DisplayCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

using namespace MCMath_930;

namespace {

void AddRows(MCMeansXProdData& data, const MCRectMatrix& block, int p)
{
    std::vector<double> row;
    for (int r = 0; r < block.GetNRows(); ++r) {
        block.GetRow(r, row);
        ASSERT_TRUE(data.AddCase(row, CaseWeight(block, r, p)));
    }
}

/// The update written out for one element at a time.
struct PlainUpdate {
    std::size_t p;
    bool intercept;
    double total = 0.0;
    std::vector<double> means = std::vector<double>(p);
    std::vector<double> products = std::vector<double>(p * (p + 1) / 2);

    void Add(const std::vector<double>& x, double w)
    {
        const double next = total + w;
        const double f = intercept ? total * w / next : w;
        for (std::size_t i = 0, at = 0; i < p; ++i)
            for (std::size_t j = 0; j <= i; ++j, ++at) {
                const double di = intercept ? x[i] - means[i] : x[i];
                const double dj = intercept ? x[j] - means[j] : x[j];
                volatile double product = f * di;
                product = product * dj;
                products[at] += product;
            }
        for (std::size_t i = 0; i < p; ++i) {
            volatile double step = (x[i] - means[i]) * (w / next);
            means[i] += step;
        }
        total = next;
    }
};

} // namespace

TEST(MCMeansXProdData, CasesAddedOneByOneGiveTheSumsOfTheWhole)
{
    TestRandom random(21);
    for (const bool intercept : {true, false})
        for (const int p : {1, 2, 3, 9, 20})
            for (const int rows : {1, 2, 40}) {
                const MCRectMatrix block = RandomBlock(random, rows, p, 1);
                MCMeansXProdData data(p, intercept);
                AddRows(data, block, p);
                ExpectAccumulated(data, block, p, intercept);
            }
}

TEST(MCMeansXProdData, AddCaseEqualsThePlainUpdateBitForBit)
{
    ForEachKernelSet([] {
        TestRandom random(4);
        for (const bool intercept : {true, false})
            for (const int p : {1, 7, 18}) {
                MCMeansXProdData data(p, intercept);
                MCMeansXProdData watched(p, intercept);
                PlainUpdate plain{static_cast<std::size_t>(p), intercept};
                for (int r = 0; r < 150; ++r) {
                    const std::vector<double> x = random.Vector(static_cast<std::size_t>(p), -1.0, 5.0);
                    const double w = random.Uniform(0.0, 2.0);
                    data.AddCase(x, w);
                    watched.AddCase(x, w);
                    plain.Add(x, w);
                    ASSERT_TRUE(SameBits(watched.GetXProds().AsSpan(), plain.products));
                }
                EXPECT_TRUE(SameBits(data.GetMeans(), plain.means));
                EXPECT_TRUE(SameBits(data.GetXProds().AsSpan(), plain.products));
            }
    });
}

TEST(MCMeansXProdData, DeletedCasesLeaveTheRest)
{
    TestRandom random(8);
    for (const bool intercept : {true, false}) {
        const MCRectMatrix rest = RandomBlock(random, 30, 4, 1);
        const MCRectMatrix extra = RandomBlock(random, 10, 4, 1);
        MCMeansXProdData data(4, intercept);
        AddRows(data, extra, 4);
        AddRows(data, rest, 4);
        std::vector<double> row;
        for (int r = 0; r < extra.GetNRows(); ++r) {
            extra.GetRow(r, row);
            ASSERT_TRUE(data.DeleteCase(row, row[4]));
        }
        ExpectAccumulated(data, rest, 4, intercept);
    }
}

// So few cases that the matrix has none of them yet when the object is used, compared with one that is read after each.
TEST(MCMeansXProdData, NoUseSeesAMatrixWithoutItsLastCases)
{
    using Data = MCMeansXProdData;
    const auto feed = [](Data& data, bool watched) {
        for (const double x : {1.0, 4.0, 6.0, 7.5}) {
            data.AddCase({x, x * x, 1.0 / x}, 1.0 + x);
            if (watched) data.GetXProds();
        }
    };
    const auto other = [&] {
        Data data(3, true);
        feed(data, false);
        return data;
    };
    const std::vector<std::pair<const char*, std::function<Data(Data&)>>> uses = {
        {"copy", [](Data& data) { return Data(data); }},
        {"assign",
         [](Data& data) {
             Data to(2, false);
             to.AddCase({1.0, 2.0}, 1.0);
             to = data;
             return to;
         }},
        {"assign to itself",
         [](Data& data) {
             const Data& same = data;
             data = same;
             return data;
         }},
        {"merge",
         [&](Data& data) {
             data.Merge(other());
             return data;
         }},
        {"merge from",
         [&](Data& data) {
             Data to = other();
             to.Merge(data);
             return to;
         }},
        {"delete",
         [](Data& data) {
             data.DeleteCase({4.0, 16.0, 0.25}, 5.0);
             return data;
         }},
        {"clear",
         [&](Data& data) {
             data.Clear();
             feed(data, false);
             return data;
         }},
        {"new variables",
         [&](Data& data) {
             data.SetNVars(2);
             feed(data, false);
             return data;
         }},
        {"no intercept",
         [&](Data& data) {
             data.SetIntercept(false);
             feed(data, false);
             return data;
         }},
    };
    for (const auto& [name, use] : uses) {
        Data waiting(3, true), watched(3, true);
        feed(waiting, false);
        feed(watched, true);
        EXPECT_TRUE(SameState(use(waiting), use(watched))) << name;
        EXPECT_TRUE(SameState(waiting, watched)) << name;
    }
    Data waiting(3, true), watched(3, true);
    feed(waiting, false);
    feed(watched, true);
    const auto shown = [](const Data& data) {
        const DisplayCapture capture;
        data.Display();
        return capture.Text();
    };
    EXPECT_EQ(shown(waiting), shown(watched));
}

TEST(MCMeansXProdData, RefusalsAndZeroWeightsChangeNothing)
{
    MCProvMeans data(2, true);
    EXPECT_TRUE(data.AddCase({7.0, 8.0}, 0.0)); // 0/0 otherwise
    EXPECT_TRUE(SameState(data, MCProvMeans(2, true)));
    data.AddCase({1.0, 2.0}, 1.0);
    data.AddCase({2.0, 5.0}, 2.0);
    const MCProvMeans before(data);
    EXPECT_FALSE(data.SetNVars(-1));
    EXPECT_FALSE(data.SetNVars(MCSymMatrix::kMaxRows + 1));
    EXPECT_FALSE(data.AddCase({1.0}, 1.0));
    EXPECT_FALSE(data.DeleteCase({1.0}, 1.0));
    EXPECT_TRUE(data.DeleteCase({1.0, 9.0}, 0.0));
    EXPECT_FALSE(data.Update({1.0}, 1.0));
    EXPECT_FALSE(data.Update({1.0, 2.0}, -3.5));
    EXPECT_FALSE(data.Update({1.0, 2.0}, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(data.Update({1.0, 2.0}, 0.0));
    EXPECT_TRUE(SameState(data, before));
    EXPECT_TRUE(data.SetNVars(3));
    EXPECT_TRUE(SameState(data, MCProvMeans(3, true)));
}

TEST(MCMeansXProdData, LateVariablesHaveBeenZeroFromTheStart)
{
    MCMeansXProdData late(2, true);
    MCMeansXProdData whole(4, true);
    for (const double x : {1.0, 2.5, -3.0}) {
        late.AddCase({x, x * x}, 1.5);
        whole.AddCase({x, x * x, 0.0, 0.0}, 1.5);
    }
    EXPECT_FALSE(late.AppendZeroVars(-1));
    EXPECT_FALSE(late.AppendZeroVars(MCSymMatrix::kMaxRows));
    ASSERT_TRUE(late.AppendZeroVars(2));
    for (MCMeansXProdData* const data : {&late, &whole}) data->AddCase({0.1, 0.2, 1.0, 7.0}, 2.0);
    EXPECT_TRUE(SameState(late, whole));
}

TEST(MCProvMeans, TheSignOfTheWeightAddsOrDeletes)
{
    MCProvMeans data(2, true);
    MCMeansXProdData expected(2, true);
    EXPECT_TRUE(data.Update({1.0, 2.0}, 2.0));
    EXPECT_TRUE(data.Update({4.0, -2.0}, 3.0));
    EXPECT_TRUE(data.Update({1.0, 2.0}, -1.5));
    expected.AddCase({1.0, 2.0}, 2.0);
    expected.AddCase({4.0, -2.0}, 3.0);
    expected.DeleteCase({1.0, 2.0}, 1.5);
    EXPECT_TRUE(SameState(data, expected));
    EXPECT_TRUE(data.Update({9.0, 9.0}, -3.5)); // exactly none left
    EXPECT_TRUE(SameState(data, MCProvMeans(2, true)));
}

TEST(MCMeansXProdData, MergedPiecesGiveTheWhole)
{
    TestRandom random(15);
    for (const bool intercept : {true, false}) {
        const MCRectMatrix whole = RandomBlock(random, 60, 5, 1);
        std::vector<MCMeansXProdData> pieces(4, MCMeansXProdData(5, intercept));
        std::vector<double> row;
        for (int r = 0; r < 60; ++r) { // the last piece stays empty
            whole.GetRow(r, row);
            pieces[static_cast<std::size_t>(r % 7 < 4 ? r % 2 : 2)].AddCase(row, row[5]);
        }
        MCMeansXProdData left;
        for (const MCMeansXProdData& piece : pieces) ASSERT_TRUE(left.Merge(piece));
        ExpectAccumulated(left, whole, 5, intercept);
        MCMeansXProdData together;
        ASSERT_TRUE(together.Merge(std::vector<const MCMeansXProdData*>{&pieces[0], nullptr, &pieces[1], &pieces[2]}));
        EXPECT_TRUE(SameState(together, left));
        ASSERT_TRUE(pieces[2].Merge(std::vector<MCMeansXProdData*>{nullptr, &pieces[1], &pieces[0]}));
        ExpectAccumulated(pieces[2], whole, 5, intercept);
        MCMeansXProdData copy;
        ASSERT_TRUE(copy.Merge(left));
        EXPECT_TRUE(SameState(copy, left));
    }
}

TEST(MCMeansXProdData, AVectorIsLookedThroughBeforeTheFirstMerge)
{
    MCMeansXProdData some(2, true);
    some.AddCase({1.0, 2.0}, 1.0);
    MCMeansXProdData raw(2, false);
    MCMeansXProdData wide(3, true);
    MCMeansXProdData none;
    using Entries = std::vector<const MCMeansXProdData*>;
    for (const Entries& entries :
         {Entries{}, Entries{nullptr, nullptr}, Entries{&some, &wide}, Entries{&some, nullptr, &raw},
          Entries{&some, &none}, Entries{&wide, &some}, Entries{&raw, &some}}) {
        MCMeansXProdData target(some);
        MCMeansXProdData empty;
        EXPECT_FALSE(target.Merge(entries));
        EXPECT_TRUE(SameState(target, some));
        EXPECT_FALSE(empty.Merge(entries));
        EXPECT_TRUE(SameState(empty, none));
    }
    MCMeansXProdData target(some);
    EXPECT_FALSE(target.Merge(wide));
    EXPECT_FALSE(target.Merge(raw));
    EXPECT_FALSE(target.Merge(Entries{&wide}));
    EXPECT_TRUE(target.Merge(MCMeansXProdData(2, true)));
    EXPECT_TRUE(SameState(target, some));
    MCMeansXProdData empty(2, true);
    EXPECT_TRUE(empty.Merge(MCMeansXProdData(2, true)));
    EXPECT_TRUE(SameState(empty, MCMeansXProdData(2, true)));

    EXPECT_TRUE(target.Merge(target)); // doubles the weight of every case
    EXPECT_EQ(target.GetNCases(), 2.0);
    EXPECT_EQ(target.GetMeans(), some.GetMeans());
}

TEST(MCMeansXProdData, DisplayNamesItsItems)
{
    const DisplayCapture capture;
    MCProvMeans(1, false).Display();
    const std::string text = capture.Text();
    std::size_t at = 0;
    for (const char* item :
         {"MCMeansXProdData display start\n", "Number of variables: 1\n", "Intercept indicator: false\n",
          "Weighted number of cases: 0\n", "Vector of means", "Matrix of cross-products:\n",
          "MCSymMatrix display start\n", "MCSymMatrix display end\n", "MCMeansXProdData display end\n"}) {
        at = text.find(item, at);
        ASSERT_NE(at, std::string::npos) << item;
    }
}
