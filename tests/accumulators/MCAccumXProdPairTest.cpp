#include "accumulators/AccumulatorsTesting.h"

namespace {

/// Rows of p values, some missing, then the case weight.
struct Data {
    Data(TestRandom& random, int rows, int variables) : p(static_cast<std::size_t>(variables))
    {
        for (int r = 0; r < rows; ++r) {
            Doubles row = random.Vector(p + 1, 0.5, 3.0);
            for (std::size_t i = 1; i < p; ++i) row[i] += 0.5 * row[i - 1];
            for (std::size_t i = 1; i < p; ++i)
                if (random.Below(5) == 0) row[i] = kMissing;
            cases.push_back(std::move(row));
        }
    }

    void Feed(MCAccumXProdPair& pairs, std::size_t first, std::size_t last) const
    {
        for (std::size_t r = first; r < last; ++r)
            for (std::size_t i = 1; i < p; ++i)
                for (std::size_t j = 0; j < i; ++j)
                    if (Complete(cases[r], i, j))
                        pairs.Update(static_cast<int>(i), cases[r][i], static_cast<int>(j), cases[r][j], cases[r][p]);
    }

    static bool Complete(const Doubles& row, std::size_t i, std::size_t j)
    {
        return row[i] != kMissing && row[j] != kMissing;
    }

    /// Compared with what the cases of each pair give by themselves.
    void Expect(const MCAccumXProdPair& pairs) const
    {
        const MCSymMatrix covar = pairs.GetCovar();
        const MCSymMatrix& corr = pairs.GetCorr();
        ASSERT_EQ(covar.GetNRows(), static_cast<int>(p));
        MCSymMatrix expected(static_cast<int>(p));
        Doubles most(p);
        for (std::size_t i = 1; i < p; ++i)
            for (std::size_t j = 0; j < i; ++j) {
                MCProvMeans both(2, true);
                for (const Doubles& row : cases)
                    if (Complete(row, i, j)) both.Update({row[i], row[j]}, row[p]);
                const auto covariance = [&](int a, int b) {
                    return both.GetXProds().GetElem(a, b) / (both.GetNCases() - 1.0);
                };
                expected.SetElem(static_cast<int>(i), static_cast<int>(j), covariance(0, 1));
                for (const int which : {0, 1}) // the first pair with the most weight gives the variance
                    if (const std::size_t v = which == 0 ? i : j; both.GetNCases() > most[v] + 1e-9) {
                        most[v] = both.GetNCases();
                        expected.SetElem(static_cast<int>(v), static_cast<int>(v), covariance(which, which));
                    }
            }
        for (int i = 0; i < expected.GetNRows(); ++i)
            for (int j = 0; j <= i; ++j) {
                const double c = expected.GetElem(i, j);
                EXPECT_NEAR(covar.GetElem(i, j), c, 2e-13);
                const double roots = std::pow(expected.GetElem(i, i) * expected.GetElem(j, j), 0.25);
                EXPECT_NEAR(corr.GetElem(i, j), c / roots, 1e-12);
            }
    }

    std::size_t p;
    std::vector<Doubles> cases;
};

MCAccumXProdPair Fed(int nVars, int nAccum, std::vector<Doubles> xyw)
{
    MCAccumXProdPair pairs(nVars, nAccum);
    for (const auto& c : xyw)
        for (int k = 0; k < nVars * (nVars - 1) / 2; ++k) pairs.Update(k, c[0], c[1], c[2]);
    return pairs;
}

} // namespace

TEST(MCAccumXProdPair, EachPairUsesTheCasesThatHaveBoth)
{
    TestRandom random(17);
    const Data data(random, 300, 5);
    for (const int nAccum : {0, 1, 2, 7, 1000}) {
        MCAccumXProdPair pairs(5, nAccum);
        EXPECT_EQ(pairs.GetNAccum(), std::max(nAccum, 1));
        data.Feed(pairs, 0, 300);
        for (int again = 0; again < 2; ++again) { // the second time nothing is left
            EXPECT_TRUE(pairs.Finish());
            data.Expect(pairs);
        }
    }
}

TEST(MCAccumXProdPair, MergedPiecesGiveTheWholeWithBatchesOpenOrFolded)
{
    TestRandom random(18);
    const Data data(random, 200, 4);
    for (const bool finish : {true, false}) {
        std::vector<MCAccumXProdPair> pieces(4, MCAccumXProdPair(4, 16));
        const std::size_t cuts[] = {0, 90, 97, 200, 200};
        for (std::size_t i = 0; i < 4; ++i) {
            data.Feed(pieces[i], cuts[i], cuts[i + 1]);
            if (finish) pieces[i].Finish();
        }
        MCAccumXProdPair one(0, 1);
        for (const MCAccumXProdPair& piece : pieces) EXPECT_TRUE(one.Merge(piece));
        EXPECT_EQ(one.GetNAccum(), 16);
        MCAccumXProdPair together(4, 3);
        EXPECT_TRUE(
            together.Merge(std::vector<const MCAccumXProdPair*>{&pieces[3], &pieces[1], &pieces[0], &pieces[2]}));
        EXPECT_EQ(together.GetNAccum(), 3);
        for (MCAccumXProdPair* const merged : {&one, &together}) {
            EXPECT_TRUE(merged->Finish());
            data.Expect(*merged);
        }
    }
}

TEST(MCAccumXProdPair, FinishStopsAtThePairThatCannotBeFolded)
{
    MCAccumXProdPair pairs(3, 100);
    for (const int k : {0, 1, 2})
        for (const double x : {1.0, 2.0, 4.0}) pairs.Update(k, x, -x, k == 1 ? 1.0 / 3.0 : 1.0);
    EXPECT_FALSE(pairs.Finish());
    EXPECT_NEAR(pairs.GetCovar().GetElem(1, 0), -7.0 / 3.0, 4e-15);
    EXPECT_EQ(pairs.GetCovar().GetElem(2, 0), 0.0);
    EXPECT_EQ(pairs.GetCovar().GetElem(2, 1), 0.0);
    EXPECT_TRUE(pairs.Update(1, 4.0, -4.0, 1.0));
    EXPECT_TRUE(pairs.Finish());
    EXPECT_NEAR(pairs.GetCovar().GetElem(2, 1), -7.0 / 3.0, 4e-15);

    MCAccumXProdPair thin(2, 1); // a fold that cannot be made keeps its batch
    EXPECT_FALSE(thin.Update(0, 1.0, 1.0, 1.0));
    EXPECT_TRUE(thin.Update(0, 3.0, 2.0, 1.0));
    EXPECT_EQ(thin.GetCovar().GetElem(1, 0), 1.0);
    EXPECT_FALSE(Fed(2, 1, {{1, 1, 0}, {2, 2, 0}}).Update(0, 1.0, 1.0, 0.0));

    MCAccumXProdPair gap(3, 10); // pairs without a case do not stop it
    gap.Update(2, 1.0, 5.0, 1.0);
    gap.Update(2, 2.0, 7.0, 1.0);
    EXPECT_TRUE(gap.Finish());
    EXPECT_TRUE(SameBits(gap.GetCovar().AsSpan(), Doubles{0, 0, 2, 0, 1, 0.5}));
    EXPECT_EQ(gap.GetCorr().GetElem(1, 0), kMissing);
    EXPECT_EQ(gap.GetCorr().GetElem(1, 1), std::sqrt(2.0));
    for (const int nVars : {0, 1}) EXPECT_TRUE(MCAccumXProdPair(nVars, 5).Finish());
    EXPECT_EQ(MCAccumXProdPair(1, 5).GetCorr().GetElem(0, 0), kMissing);
}

TEST(MCAccumXProdPair, TheFirstOfEqualPairsGivesTheVariance)
{
    MCAccumXProdPair pairs(3, 1); // variable 0 is y in pairs 0 and 1
    for (const double y : {1.0, 3.0}) pairs.Update(0, 0.0, y, 1.0);
    for (const double y : {1.0, 7.0}) pairs.Update(1, 0.0, y, 1.0);
    EXPECT_EQ(pairs.GetCovar().GetElem(0, 0), 2.0);
    pairs.Update(1, 0.0, 4.0, 0.5);
    EXPECT_EQ(pairs.GetCovar().GetElem(0, 0), 12.0);
}

TEST(MCAccumXProdPair, RefusalsChangeNothing)
{
    const MCAccumXProdPair some = Fed(3, 2, {{1, 2, 1}, {2, 5, 2}, {4, 4, 1}});
    MCAccumXProdPair pairs(some);
    for (const auto& [i, j] : {std::pair{1, 1}, {0, 1}, {3, 0}, {1, -1}})
        EXPECT_TRUE(NoneOf(
            {pairs.Update(i, 1.0, j, 1.0, 1.0), pairs.Update(-1, 1.0, 1.0, 1.0), pairs.Update(3, 1.0, 1.0, 1.0)}));
    EXPECT_TRUE(pairs.Merge(MCAccumXProdPair(3, 9)));
    EXPECT_EQ(Saved(pairs), Saved(some));

    pairs.InitAccumCounts(); // drops the third case
    EXPECT_EQ(Saved(pairs), Saved(Fed(3, 2, {{1, 2, 1}, {2, 5, 2}})));
    pairs.InitAll();
    pairs.SetNAccum(-2);
    EXPECT_EQ(Saved(pairs), Saved(MCAccumXProdPair(3, 1)));
}
