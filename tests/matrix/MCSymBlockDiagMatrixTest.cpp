#include "matrix/Matrices.h"

namespace {

/// Positive definite, with blocks of the given sizes.
MCSymBlockDiagMatrix RandomBlocks(TestRandom& random, const std::vector<int>& sizes, const std::vector<int>& diagonal)
{
    MCSymBlockDiagMatrix matrix(sizes, Bits(static_cast<int>(sizes.size()), diagonal));
    for (int i = 0; i < matrix.GetNRows(); ++i)
        for (int j = 0; j <= i; ++j) matrix.SetElem(i, j, random.Uniform(-1.0, 1.0) + (i == j ? 10.0 : 0.0));
    return matrix;
}

/// Every table against the list of sizes, and every element against the blocks.
void ExpectConsistent(const MCSymBlockDiagMatrix& m)
{
    int start = 0, dense = 0, diagonal = 0;
    for (int b = 0; b < m.GetNBlocks(); start += m.GetBlockSizes()[static_cast<std::size_t>(b++)]) {
        const bool isDiagonal = m.GetIsBlockDiagonal(b);
        ASSERT_TRUE(m.GetBlockStartIndex(b) == start && m.GetStartingIndices()[static_cast<std::size_t>(b)] == start);
        const MCSymMatrix* const packed = isDiagonal ? nullptr : m.GetDenseBlock(dense++);
        const std::vector<double>* const diag = isDiagonal ? m.GetDiagonalBlock(diagonal++) : nullptr;
        ASSERT_EQ(isDiagonal ? static_cast<int>(diag->size()) : packed->GetNRows(),
                  m.GetBlockSizes()[static_cast<std::size_t>(b)]);
        for (int i = 0; i < m.GetBlockSizes()[static_cast<std::size_t>(b)]; ++i) {
            int block = -1, first = -1, relative = -1, storage = -1, row = -1, column = -1;
            bool flag = !isDiagonal;
            ASSERT_TRUE(m.FindAbsBlockRelColIndex(start + i, block, first, relative, flag));
            ASSERT_TRUE(block == b && first == start && relative == i && flag == isDiagonal &&
                        m.GetBlockIndexForRow()[static_cast<std::size_t>(start + i)] == b);
            for (int j = 0; j <= start + i; ++j) {
                const bool stored = isDiagonal ? j == start + i : j >= start;
                ASSERT_EQ(m.FindBlock(j, start + i, storage, row, column, flag), stored);
                EXPECT_TRUE(!stored ||
                            (storage == (isDiagonal ? diagonal : dense) - 1 && row == i && column == j - start));
                const double held = !stored      ? 0.0
                                    : isDiagonal ? (*diag)[std::size_t(i)]
                                                 : packed->GetElem(i, j - start);
                EXPECT_TRUE(m.GetElem(start + i, j) == held && m.GetElem(j, start + i) == held);
            }
        }
    }
    EXPECT_TRUE(m.GetNRows() == start && m.GetNDenseBlocks() == dense && m.GetNDiagBlocks() == diagonal);
    EXPECT_TRUE(m.GetDenseBlock(dense) == nullptr && m.GetDiagonalBlock(diagonal) == nullptr);
}

} // namespace

namespace MCMath_930 {

// Here Refuses finds it.
static ::testing::AssertionResult SameMatrix(const MCSymBlockDiagMatrix& actual, const MCSymBlockDiagMatrix& expected)
{
    if (!actual.IsSameStructure(expected)) return ::testing::AssertionFailure() << "the structures differ";
    return Near(ToNaive(actual), ToNaive(expected), 0.0);
}

} // namespace MCMath_930

TEST(MCSymBlockDiagMatrix, TablesFollowEveryChangeOfStructure)
{
    TestRandom random(401);
    MCSymBlockDiagMatrix m({2, 3}, Bits(2, {0}));
    EXPECT_EQ(m.GetBlockIndexForRow(), (std::vector<int>{0, 0, 1, 1, 1}));
    EXPECT_TRUE(m.SetElem(2, 3, 7.0) && m.SetElem(1, 1, 4.0) && m.GetType() == m.GetMatrixKind());
    EXPECT_TRUE(Refuses(m, [](auto& s) {
        return NoneOf({s.SetElem(0, 1, 5.0), s.SetElem(2, 1, 5.0), s.SetElem(5, 5, 5.0), s.SetElem(3, -1, 5.0)});
    }));
    EXPECT_TRUE(m.GetElem(0, 1) == 0.0 && m.GetElem(5, 5) == 0.0 && m.GetElem(3, 2) == 7.0);
    ExpectConsistent(m);

    MCSymMatrix packed = RandomSym(random, 4);
    MCDiagMatrix diagonal({1, 2, 3});
    MCSymBlockDiagMatrix others({&packed, &m, &diagonal});
    EXPECT_EQ(others.GetBlockSizes(), (std::vector<int>{4, 2, 3, 3}));
    EXPECT_TRUE(m.AddBlock(packed) && m.AddBlock(m));
    EXPECT_EQ(m.GetBlockSizes(), (std::vector<int>{2, 3, 4, 2, 3, 4}));
    for (const auto& [b, block] : {std::pair<int, const IMCSymMatrix*>{0, &packed}, {3, &diagonal}, {5, &diagonal}}) {
        EXPECT_TRUE(m.ReplaceBlock(b, *block));
        ExpectConsistent(m);
    }
    EXPECT_TRUE(m.ReplaceBlock(3, MCDiagMatrix({4, 5, 6})) && m.GetElem(12, 12) == 5); // of the same kind and size
    EXPECT_TRUE(m.ReplaceBlock(1, *m.GetDenseBlock(0)) && m.ReplaceBlock(2, *m.GetDenseBlock(1)));
    EXPECT_EQ(m.GetBlockSizes(), (std::vector<int>{4, 4, 4, 3, 3, 3}));
    EXPECT_TRUE(SameMatrix(*m.GetDenseBlock(2), packed));
    ExpectConsistent(m);

    constexpr int kFar = std::numeric_limits<int>::max();
    EXPECT_TRUE(Refuses(m, [&](auto& s) {
        return NoneOf({s.ReplaceBlock(6, packed), s.ReplaceBlock(-1, packed), s.ReplaceBlock(0, others),
                       s.ReplaceBlock(0, MCSymMatrix()), s.AddBlock(MCDiagMatrix()), s.SetStructure({2, 0}, MCBitSet()),
                       s.SetStructure({2}, MCBitSet(2)), s.SetStructure({MCSymMatrix::kMaxRows + 1}, MCBitSet()),
                       s.SetStructure({1, kFar}, Bits(2, {1}))});
    }));
    EXPECT_EQ(MCSymBlockDiagMatrix({&packed, nullptr}).GetNBlocks(), 0);
    EXPECT_FALSE(others.IsSameStructure(m));
    others.CopyStructure(m);
    EXPECT_TRUE(others.IsSameStructure(m) && others.Trace() == 0.0);
}

// What can stay block-diagonal, beside the packed matrix: the sums that meet zeros between the blocks are the same sums.
TEST(MCSymBlockDiagMatrix, EqualsTheDenseMatrix)
{
    TestRandom random(402);
    for (const auto& [sizes, diagonal] :
         {std::pair<std::vector<int>, std::vector<int>>{{}, {}}, {{5, 1, 3}, {1}}, {{4, 9, 2, 17, 6}, {0, 3}}}) {
        MCSymBlockDiagMatrix blocks = RandomBlocks(random, sizes, diagonal), ownBlocks;
        const MCSymBlockDiagMatrix l = RandomBlocks(random, sizes, {0});
        const int n = blocks.GetNRows();
        const MCDiagMatrix scale(random.Vector(static_cast<std::size_t>(n), 0.5, 1.5));
        MCSymMatrix full, lFull, ownDense;
        ASSERT_TRUE(blocks.FillDenseMatrix(full) && l.FillDenseMatrix(lFull));
        const std::vector<double> v = RandomVec(random, n), ref = Diagonal(full);
        const Naive S = ToNaive(full), L = ToNaive(lFull), D = ToNaive(scale);
        EXPECT_TRUE(Near(Scalar(blocks.TraceOfProduct(l)), Scalar((S * L).Trace())) &&
                    Near(Scalar(blocks.TraceOfProductOfThree(l, scale)), Scalar((S * L * D).Trace())));
        double det[2] = {-1, -1}, detFull[2] = {-1, -1};
        EXPECT_EQ(blocks.ComputeDeterminant(1e-12, det), full.ComputeDeterminant(1e-12, detFull));
        EXPECT_TRUE(Near(Scalar(det[0]), Scalar(detFull[0])) && det[1] == detFull[1]);

        const auto run = [&](IMCSymMatrix& s, auto o) {
            o.Call(s.ComputeLSLTrans(l, *o.own)).Call(s.ComputeLTransSL(l, *o.own));
            o.Call(s.ComputeLSLTrans(scale, *o.own)).Call(s.ComputeLTransSL(s, *o.own));
            o.Call(s.ComputeSTransS(*o.own)).Call(s.ExtractFirstNRows(n / 2, *o.own));
            o.Call(s.CholInverse(ref, 1e-12, *o.own)).Call(s.CholInverse({}, 1e-12, *o.own));
            double logDet = 0.0, factorDet[2];
            o.Call(s.LTChol(1e-12, logDet, true) + logDet);
            o.Call(s.LTSolve(v, o.vec));
            o.Call(s.LTDetInverse(factorDet, 11) + factorDet[0] + 100.0 * factorDet[1]);
            s.LTLTransL();
            o.Call(s.LTChol(ref, 0.011, true)); // refuses some pivots: 1/10 is about 0.01 of 10
            s.LTLLTrans();
            MCBitSet kept(1);
            o.Call(s.LTChol(ref, 0.01, kept, true) + 100.0 * kept.Size());
            for (int i = 0; i < n; ++i) o.Call(kept.IsIn(i));
            o.Call(s.LTDetInverse(nullptr, 10)).Call(s.LTSolve(v, o.vec)).Call(s.ComputeSTransS(s));
            return o.numbers;
        };
        const auto expected = run(full, Outcome<IMCSymMatrix>{&full, &ownDense});
        EXPECT_EQ(run(blocks, Outcome<IMCSymMatrix>{&blocks, &ownBlocks}), expected) << n;
        ExpectConsistent(blocks);
        ExpectConsistent(ownBlocks);
    }
}

TEST(MCSymBlockDiagMatrix, StructureDecidesBeforeAnythingIsWritten)
{
    TestRandom random(403);
    MCSymBlockDiagMatrix m = RandomBlocks(random, {2, 3, 2}, {2});
    const MCSymBlockDiagMatrix other = RandomBlocks(random, {3, 2, 2}, {2});
    MCSymMatrix dense;
    ASSERT_TRUE(m.FillDenseMatrix(dense));
    MCSymBlockDiagMatrix twice = m;
    EXPECT_TRUE(twice.ComputeAXpY(1.0, dense) && twice.GetElem(1, 0) == 2.0 * m.GetElem(1, 0));
    dense.SetElem(6, 5, kNan);
    EXPECT_TRUE(Refuses(m, [&](auto& s) {
        return NoneOf({s.ComputeAXpY(1.0, other), s.ComputeAXpY(1.0, dense), s.SetRowColToConst(0, 1.0),
                       s.PutRow(5, {0, 0, 0, 0, 0, 1, 1}), s.LTChol(std::vector<double>(7, -1.0), 0.0, true) != -1});
    }));
    MCSymBlockDiagMatrix out = RandomBlocks(random, {1}, {});
    EXPECT_TRUE(Refuses(out, [&](auto& s) {
        return NoneOf({m.ComputeLSLTrans(other, s), m.ComputeLTransSL(dense, s), dense.ComputeLSLTrans(m, s),
                       m.ComputeRSRTrans(RandomRect(random, 7, 7), s), m.ExtractSubmatrix(std::vector<int>{3, 0, 4}, s),
                       m.ExtractSubmatrix(std::vector<int>{0, 0}, s), m.ExtractSubmatrix(std::vector<int>{7}, s)});
    }));
    MCDiagMatrix diagonal(std::vector<double>{1});
    EXPECT_TRUE(
        NoneOf({m.ComputeSTransS(diagonal), m.ComputeLSLTrans(m, diagonal), m.CholInverse({}, 0.0, diagonal) != -1}));
    EXPECT_EQ(diagonal.AsVector(), (std::vector<double>{1}));
    EXPECT_TRUE(m.ExtractSubmatrix(std::vector<int>{6, 4, 2, 5, 1}, out)); // a diagonal block may come in pieces
    EXPECT_EQ(out.GetBlockSizes(), (std::vector<int>{1, 2, 1, 1}));
    EXPECT_TRUE(out.GetElem(0, 0) == m.GetElem(6, 6) && out.GetElem(2, 1) == m.GetElem(4, 2));
    ExpectConsistent(out);
}

// A diagonal block costs its diagonal: no packed matrix could be so large.
TEST(MCSymBlockDiagMatrix, DiagonalBlocksAreNeverSpelledOut)
{
    const int n = 1000000;
    MCSymBlockDiagMatrix m({n, 2}, Bits(2, {0})), out;
    m.AddToDiagonal(4.0);
    std::vector<double> diag;
    ASSERT_TRUE(m.GetNCheckDiagonal(1.0, diag));
    EXPECT_EQ(m.CholInverse(diag, 1e-12, out), n + 2);
    EXPECT_EQ(out.Trace(), 0.25 * (n + 2));
    EXPECT_TRUE(m.ComputeLSLTrans(m, out) && m.ComputeSTransS(m)); // 64 and 16
    EXPECT_EQ(out.TraceOfProductOfThree(out, m), 65536.0 * (n + 2));
    MCSymMatrix packed(1);
    EXPECT_TRUE(NoneOf({m.FillDenseMatrix(packed), m.ComputeSTransS(packed)}));
}

TEST(MCSymBlockMatrix, AssemblesPairsOfBlocks)
{
    TestRandom random(404);
    MCSymBlockMatrix m(2, 3);
    ASSERT_TRUE(m.ResizeNRows(3));
    for (int b = 0; b < 3; ++b)
        for (int c = 0; c <= b; ++c) m.GetElemSSRef(c, b) = RandomSym(random, 3);
    MCSymMatrix whole;
    ASSERT_TRUE(m.CopyToSymMatrix(whole) && whole.GetNRows() == 9);
    for (int i = 0; i < 9; ++i)
        for (int j = 0; j < 9; ++j) EXPECT_EQ(whole.GetElem(i, j), m.GetElemSSRef(i / 3, j / 3).GetElem(i % 3, j % 3));
    const MCSymBlockMatrix copy(m);
    ASSERT_TRUE(m.ResizeNRows(4));
    EXPECT_TRUE(SameMatrix(m.GetElemSSRef(2, 1), copy.GetElemSSRef(1, 2)) && m.GetElemSSRef(3, 0).Trace() == 0.0);
    m.GetElemSSRef(3, 3).Resize(2);
    EXPECT_TRUE(!m.IsValid() && Refuses(whole, [&](MCSymMatrix& s) { return m.CopyToSymMatrix(s); }));
    EXPECT_TRUE(NoneOf({m.SetNRows(-1), m.SetNRows(2, -1), m.ResizeNRows(MCSymMatrix::kMaxRows + 1)}));
    EXPECT_EQ(m.GetNRows(), 4);
    ASSERT_TRUE(m.SetNRows(2, 1));
    m.GetElemSSRef(0, 0).Resize(0);
    EXPECT_FALSE(m.IsValid());
    m.Clear();
    EXPECT_TRUE(m.IsValid() && m.CopyToSymMatrix(whole) && whole.GetNRows() == 0);
}
