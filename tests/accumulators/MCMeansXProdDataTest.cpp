#include "accumulators/AccumulatorsTesting.h"
#include "support/AllKernels.h"

#include <functional>

namespace {

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

TEST(MCMeansXProdData, AddCaseEqualsThePlainUpdateBitForBit)
{
    ForEachKernelSet([] {
        TestRandom random(4);
        for (const bool intercept : {true, false})
            for (const int p : {1, 7, 18}) {
                const MCRectMatrix block = RandomBlock(random, 150, p, 1);
                MCMeansXProdData data(p, intercept);
                MCMeansXProdData watched(p, intercept);
                PlainUpdate plain{static_cast<std::size_t>(p), intercept};
                std::vector<double> row;
                for (int r = 0; r < 150; ++r) {
                    block.GetRow(r, row);
                    data.AddCase(row, row.back());
                    watched.AddCase(row, row.back());
                    plain.Add(row, row.back());
                    ASSERT_TRUE(SameBits(watched.GetXProds().AsSpan(), plain.products));
                }
                EXPECT_TRUE(SameBits(data.GetMeans(), plain.means));
                EXPECT_TRUE(SameState(data, watched));
                ExpectAccumulated(data, block, p, intercept);
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
        std::vector<double> row;
        for (int r = 0; r < 50; ++r) { // 10 come and go
            (r < 10 || r >= 40 ? extra : rest).GetRow(r < 10 ? r : r < 40 ? r - 10 : r - 40, row);
            ASSERT_TRUE(r < 40 ? data.AddCase(row, row[4]) : data.DeleteCase(row, row[4]));
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
    const std::vector<std::pair<const char*, std::function<void(Data&, Data&)>>> uses = {
        {"nothing", [](Data&, Data&) {}},
        {"copy", [](Data& data, Data& other) { other.Merge(Data(data)); }},
        {"assign", [](Data& data, Data& other) { other = data; }},
        {"assign to itself", [](Data& data, Data&) { data = static_cast<const Data&>(data); }},
        {"merge", [](Data& data, Data& other) { data.Merge(other); }},
        {"delete",
         [](Data& data, Data&) {
             data.DeleteCase({4.0, 16.0, 0.25}, 5.0);
         }},
        {"clear", [](Data& data, Data&) { data.Clear(); }},
        {"new variables", [](Data& data, Data&) { data.SetNVars(2); }},
        {"no intercept", [](Data& data, Data&) { data.SetIntercept(false); }},
    };
    for (const auto& [name, use] : uses) {
        Data waiting(3, true), watched(3, true), waitingOther(3, true), watchedOther(3, true);
        feed(waiting, false);
        feed(waitingOther, false);
        feed(watched, true);
        feed(watchedOther, true);
        use(waiting, waitingOther);
        use(watched, watchedOther);
        EXPECT_TRUE(SameState(Data(waitingOther), watchedOther)) << name;
        EXPECT_TRUE(SameState(waiting, watched)) << name;
        feed(waiting, false);
        feed(watched, true);
        EXPECT_EQ(Shown(waiting), Shown(watched)) << name;
        EXPECT_TRUE(SameState(waiting, watched)) << name;
    }
}

TEST(MCMeansXProdData, RefusalsAndZeroWeightsChangeNothing)
{
    MCProvMeans data(2, true);
    EXPECT_TRUE(data.AddCase({7.0, 8.0}, 0.0)); // 0/0 otherwise
    EXPECT_TRUE(SameState(data, MCProvMeans(2, true)));
    data.AddCase({1.0, 2.0}, 1.0);
    data.AddCase({2.0, 5.0}, 2.0);
    const MCProvMeans before(data);
    EXPECT_FALSE(data.SetNVars(-1) || data.SetNVars(MCSymMatrix::kMaxRows + 1) || data.AddCase({1.0}, 1.0) ||
                 data.DeleteCase({1.0}, 1.0) || data.Update({1.0}, 1.0) || data.Update({1.0, 2.0}, -3.5) ||
                 data.Update({1.0, 2.0}, kNan) || data.AppendZeroVars(-1) ||
                 data.AppendZeroVars(MCSymMatrix::kMaxRows));
    EXPECT_TRUE(data.DeleteCase({1.0, 9.0}, 0.0) && data.Update({1.0, 2.0}, 0.0));
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
    ASSERT_TRUE(late.AppendZeroVars(2));
    for (MCMeansXProdData* const data : {&late, &whole}) data->AddCase({0.1, 0.2, 1.0, 7.0}, 2.0);
    EXPECT_TRUE(SameState(late, whole));
}

TEST(MCProvMeans, TheSignOfTheWeightAddsOrDeletes)
{
    MCProvMeans data(2, true);
    MCMeansXProdData expected(2, true);
    for (const auto& [x, w] : {std::pair{1.0, 2.0}, {4.0, 3.0}, {1.0, -1.5}}) {
        EXPECT_TRUE(data.Update({x, 2.0 / x}, w));
        EXPECT_TRUE(w > 0.0 ? expected.AddCase({x, 2.0 / x}, w) : expected.DeleteCase({x, 2.0 / x}, -w));
    }
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
    }
}

TEST(MCMeansXProdData, AVectorIsLookedThroughBeforeTheFirstMerge)
{
    MCMeansXProdData some(2, true);
    some.AddCase({1.0, 2.0}, 1.0);
    const MCMeansXProdData none, raw(2, false), wide(3, true), fresh(2, true);
    using Entries = std::vector<const MCMeansXProdData*>;
    for (const Entries& entries :
         {Entries{}, Entries{nullptr, nullptr}, Entries{&some, &wide}, Entries{&some, nullptr, &raw},
          Entries{&some, &none}, Entries{&wide, &some}, Entries{&raw, &some}})
        for (const MCMeansXProdData& before : {some, none}) {
            MCMeansXProdData target(before);
            EXPECT_FALSE(target.Merge(entries));
            EXPECT_TRUE(SameState(target, before));
        }
    MCMeansXProdData target(some);
    EXPECT_FALSE(target.Merge(wide));
    EXPECT_FALSE(target.Merge(raw));
    EXPECT_TRUE(target.Merge(fresh));
    EXPECT_TRUE(SameState(target, some));
    MCMeansXProdData empty(fresh);
    EXPECT_TRUE(empty.Merge(fresh)); // 0/0 otherwise
    EXPECT_TRUE(SameState(empty, fresh));

    EXPECT_TRUE(target.Merge(target)); // doubles the weight of every case
    EXPECT_EQ(target.GetNCases(), 2.0);
    EXPECT_EQ(target.GetMeans(), some.GetMeans());
}
