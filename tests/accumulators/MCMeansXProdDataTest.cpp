#include "accumulators/AccumulatorsTesting.h"
#include "support/AllKernels.h"

namespace {

/// The update written out for one element at a time.
struct PlainUpdate {
    std::size_t p;
    bool intercept;
    double total = 0.0;
    Doubles means = Doubles(p);
    Doubles products = Doubles(p * (p + 1) / 2);

    void Add(const Doubles& x, double w)
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
                Doubles row;
                for (int r = 0; r < 150; ++r) {
                    block.GetRow(r, row);
                    data.AddCase(row, row.back());
                    watched.AddCase(row, row.back());
                    plain.Add(row, row.back());
                    ASSERT_TRUE(SameBits(watched.GetXProds().AsSpan(), plain.products));
                }
                EXPECT_TRUE(SameBits(data.GetMeans(), plain.means));
                EXPECT_TRUE(SameState(data, watched));
                ExpectClose(data, Whole(block, p, intercept));
            }
    });
}

// So few cases that the matrix has none of them yet when the object is used, compared with one that is read after each.
TEST(MCMeansXProdData, NoUseSeesAMatrixWithoutItsLastCases)
{
    using Data = MCMeansXProdData;
    const auto feed = [](Data& data, bool watched) {
        for (const double x : {1.0, 4.0, 6.0, 7.5}) {
            data.AddCase({x, x * x, 1.0 / x, 0.1}, 1.0 + x);
            if (watched) data.GetXProds();
        }
    };
    const Doubles second = {4.0, 16.0, 0.25};
    const std::vector<std::pair<const char*, std::function<void(Data&, Data&)>>> uses = {
        {"nothing", [](Data&, Data&) {}},
        {"copy", [](Data& data, Data& other) { other.Merge(Data(data)); }},
        {"assign", [](Data& data, Data& other) { other = data; }},
        {"assign to itself", [](Data& data, Data&) { data = static_cast<const Data&>(data); }},
        {"move", [](Data& data, Data& other) { other = std::move(data); }},
        {"move to itself", [](Data& data, Data&) { data = std::move(static_cast<Data&>(data)); }},
        {"merge", [](Data& data, Data& other) { data.Merge(other); }},
        {"delete", [&](Data& data, Data&) { data.DeleteCase(second, 5.0); }},
        {"clear", [](Data& data, Data&) { data.Clear(); }},
        {"new variables", [](Data& data, Data&) { data.SetNVars(2); }},
        {"more variables", [](Data& data, Data&) { data.AppendZeroVars(1); }},
        {"no intercept", [](Data& data, Data&) { data.SetIntercept(false); }},
    };
    for (const auto& [name, use] : uses) {
        SCOPED_TRACE(name);
        Data waiting(3, true), watched(3, true), waitingOther(3, true), watchedOther(3, true);
        feed(waiting, false);
        feed(waitingOther, false);
        feed(watched, true);
        feed(watchedOther, true);
        use(waiting, waitingOther);
        use(watched, watchedOther);
        EXPECT_TRUE(SameState(Data(waitingOther), watchedOther));
        EXPECT_TRUE(SameState(waiting, watched));
        feed(waiting, false);
        feed(watched, true);
        EXPECT_EQ(Shown(waiting), Shown(watched));
        EXPECT_TRUE(SameState(waiting, watched));
    }
}

TEST(MCMeansXProdData, RefusalsAndZeroWeightsChangeNothing)
{
    MCProvMeans data(2, true);
    EXPECT_TRUE(data.AddCase({7.0, 8.0}, 0.0)); // 0/0 otherwise
    EXPECT_TRUE(data.Merge(MCProvMeans(data))); // the same
    EXPECT_TRUE(SameState(data, MCProvMeans(2, true)));
    data.AddCase({1.0, 2.0}, 1.0);
    data.AddCase({2.0, 5.0}, 2.0);
    const MCProvMeans before(data);
    EXPECT_TRUE(NoneOf({data.SetNVars(-1), data.SetNVars(MCSymMatrix::kMaxRows + 1), data.AddCase({1.0}, 1.0),
                        data.DeleteCase({1.0}, 1.0), data.Update({1.0}, 1.0), data.Update({1.0, 2.0}, -3.5),
                        data.Update({1.0, 2.0}, kNan), data.AppendZeroVars(-1),
                        data.AppendZeroVars(MCSymMatrix::kMaxRows), data.Merge(MCProvMeans(2, false))}));
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

// Cases that come and go, by the sign of the weight, in pieces that are merged.
TEST(MCProvMeans, DeletedAndMergedPiecesGiveTheWhole)
{
    TestRandom random(8);
    for (const bool intercept : {true, false}) {
        const MCRectMatrix rest = RandomBlock(random, 30, 4, 1), extra = RandomBlock(random, 10, 4, 1);
        std::vector<MCProvMeans> pieces(4, MCProvMeans(4, intercept)); // the last one stays empty
        Doubles row;
        for (int r = 0; r < 50; ++r) { // 10 come and go
            (r < 10 || r >= 40 ? extra : rest).GetRow(r < 10 ? r : r < 40 ? r - 10 : r - 40, row);
            ASSERT_TRUE(
                pieces[static_cast<std::size_t>(r < 10 || r >= 40 ? 0 : r % 3)].Update(row, r < 40 ? row[4] : -row[4]));
        }
        MCMeansXProdData merged;
        for (const MCProvMeans& piece : pieces) ASSERT_TRUE(merged.Merge(piece));
        ExpectClose(merged, Whole(rest, 4, intercept));
    }
    MCProvMeans data(1, true);
    EXPECT_TRUE(data.Update({3.0}, 3.5) && data.Update({4.0}, -3.5)); // exactly none left
    EXPECT_TRUE(SameState(data, MCProvMeans(1, true)));
    EXPECT_TRUE(data.Update({3.0}, 2.0) && data.Merge(data)); // doubles the weight of every case
    EXPECT_EQ(data.GetNCases(), 4.0);
    EXPECT_EQ(data.GetMeans()[0], 3.0);
}
