#include "matrix/Matrices.h"

#include <functional>
#include <initializer_list>

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
    ASSERT_EQ(m.GetStartingIndices().size(), m.GetBlockSizes().size());
    for (int b = 0; b < m.GetNBlocks(); ++b) {
        const int size = m.GetBlockSizes()[static_cast<std::size_t>(b)];
        const bool isDiagonal = m.GetIsBlockDiagonal(b);
        EXPECT_EQ(m.GetBlockStartIndex(b), start);
        EXPECT_EQ(m.GetStartingIndices()[static_cast<std::size_t>(b)], start);
        const MCSymMatrix* const packed = isDiagonal ? nullptr : m.GetDenseBlock(dense);
        const std::vector<double>* const diag = isDiagonal ? m.GetDiagonalBlock(diagonal) : nullptr;
        ASSERT_EQ(isDiagonal ? static_cast<int>(diag->size()) : packed->GetNRows(), size);
        for (int i = 0; i < size; ++i) {
            ASSERT_EQ(m.GetBlockIndexForRow()[static_cast<std::size_t>(start + i)], b);
            int block = -1, first = -1, relative = -1;
            bool flag = !isDiagonal;
            ASSERT_TRUE(m.FindAbsBlockRelColIndex(start + i, block, first, relative, flag));
            EXPECT_TRUE(block == b && first == start && relative == i && flag == isDiagonal);
            for (int j = 0; j <= start + i; ++j) {
                int storage = -1, row = -1, column = -1;
                const bool stored = m.FindBlock(j, start + i, storage, row, column, flag);
                ASSERT_EQ(stored, isDiagonal ? j == start + i : j >= start);
                EXPECT_EQ(storage, !stored ? -1 : isDiagonal ? diagonal : dense);
                const double held = !stored      ? 0.0
                                    : isDiagonal ? (*diag)[std::size_t(i)]
                                                 : packed->GetElem(i, j - start);
                EXPECT_EQ(m.GetElem(start + i, j), held);
                EXPECT_EQ(m.GetElem(j, start + i), held);
                EXPECT_TRUE(!stored || (row == i && column == j - start));
            }
        }
        start += size;
        ++(isDiagonal ? diagonal : dense);
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
    EXPECT_EQ(m.GetStartingIndices(), (std::vector<int>{0, 2}));
    EXPECT_EQ(m.GetType(), m.GetMatrixKind());
    EXPECT_TRUE(m.SetElem(2, 3, 7.0) && m.SetElem(1, 1, 4.0));
    EXPECT_EQ(m.GetDenseBlock(0)->GetElem(1, 0), 7.0);
    EXPECT_TRUE(Refuses(m, [](auto& s) {
        return s.SetElem(0, 1, 5.0) || s.SetElem(2, 1, 5.0) || s.SetElem(5, 5, 5.0) || s.SetElem(3, -1, 5.0);
    }));
    EXPECT_TRUE(m.GetElem(0, 1) == 0.0 && m.GetElem(5, 5) == 0.0 && m.GetElem(3, 2) == 7.0);
    ExpectConsistent(m);

    MCSymMatrix packed = RandomSym(random, 4);
    MCDiagMatrix diagonal({1, 2, 3});
    MCSymBlockDiagMatrix others({&packed, &m, &diagonal});
    EXPECT_EQ(others.GetBlockSizes(), (std::vector<int>{4, 2, 3, 3}));
    ExpectConsistent(others);
    EXPECT_TRUE(m.AddBlock(packed) && m.AddBlock(m));
    EXPECT_EQ(m.GetBlockSizes(), (std::vector<int>{2, 3, 4, 2, 3, 4}));
    ExpectConsistent(m);
    for (const auto& [b, block] : {std::pair<int, IMCSymMatrix*>{0, &packed}, {3, &diagonal}, {5, &diagonal}}) {
        EXPECT_TRUE(m.ReplaceBlock(b, *block));
        ExpectConsistent(m);
    }
    EXPECT_TRUE(m.ReplaceBlock(1, *m.GetDenseBlock(0)));
    EXPECT_EQ(m.GetBlockSizes(), (std::vector<int>{4, 4, 4, 3, 3, 3}));
    EXPECT_EQ(m.GetElem(5, 4), packed.GetElem(1, 0));
    ExpectConsistent(m);

    constexpr int kFar = std::numeric_limits<int>::max();
    EXPECT_TRUE(Refuses(m, [&](auto& s) {
        return s.ReplaceBlock(6, packed) || s.ReplaceBlock(-1, packed) || s.ReplaceBlock(0, others) ||
               s.ReplaceBlock(0, MCSymMatrix()) || s.AddBlock(MCDiagMatrix());
    }));
    EXPECT_TRUE(Refuses(m, [&](auto& s) {
        return s.SetStructure({2, 0}, MCBitSet()) || s.SetStructure({2}, MCBitSet(2)) ||
               s.SetStructure({MCSymMatrix::kMaxRows + 1}, MCBitSet()) || s.SetStructure({1, kFar}, Bits(2, {1}));
    }));
    EXPECT_EQ(MCSymBlockDiagMatrix({&packed, nullptr}).GetNBlocks(), 0);
    EXPECT_FALSE(others.IsSameStructure(m));
    others.CopyStructure(m);
    EXPECT_TRUE(others.IsSameStructure(m) && others.Trace() == 0.0);
    const MCSymBlockDiagMatrix copy(m);
    const MCSymBlockDiagMatrix taken(std::move(m));
    EXPECT_TRUE(SameMatrix(taken, copy));
    ExpectConsistent(m); // NOLINT: moved from, thus empty
    EXPECT_TRUE(m.AddBlock(packed));
    ExpectConsistent(m);
    EXPECT_TRUE(Shown(m).starts_with("MCSymBlockDiagMatrix display start\nNumber of rows: 4\n"));
}

// The same operations on a block-diagonal matrix and on the packed one that it fills: the sums that meet zeros between
// the blocks are the same sums.
TEST(MCSymBlockDiagMatrix, EqualsTheDenseMatrix)
{
    TestRandom random(402);
    for (const auto& [sizes, diagonal] : {std::pair<std::vector<int>, std::vector<int>>{{}, {}},
                                          {{1}, {0}},
                                          {{5, 1, 3}, {1}},
                                          {{4, 9, 2, 17, 6}, {0, 3}}}) {
        MCSymBlockDiagMatrix blocks = RandomBlocks(random, sizes, diagonal);
        const int n = blocks.GetNRows();
        const MCSymBlockDiagMatrix l = RandomBlocks(random, sizes, {0});
        const MCDiagMatrix scale(random.Vector(static_cast<std::size_t>(n), 0.5, 1.5));
        MCSymMatrix full;
        ASSERT_TRUE(blocks.FillDenseMatrix(full));
        const std::vector<double> v = RandomVec(random, n);
        const MCRectMatrix r = RandomRect(random, 3, n), tall = RandomRect(random, n, 2), g = RandomRect(random, n, n);
        const std::vector<double> ref = Diagonal(full);
        const int a = n / 3, na = n / 2;

        struct Case {
            const char* name;
            std::function<void(IMCSymMatrix&, Outcome<IMCSymMatrix>&)> run;
        };
        const Case cases[] = {
            {"products",
             [&](IMCSymMatrix& s, auto& o) {
                 o.Call(s.ComputeSV(v, o.vec) && s.ComputeRTransSV(tall, v, o.vec));
                 o.Call(s.ComputeLV(v, o.vec) && s.ComputeLTransV(o.vec, o.vec));
                 o.Call(s.ComputeVSW(v, ref) + s.ComputeVSWParts(v, a, na, ref, 1 % (n + 1), na));
                 o.Call(s.ComputeVecPartByL(v, a, na, o.vec));
                 o.Call(s.ComputeRVD(r, v, o.rect));
                 o.Call(s.ComputeGSG(g, o.rect));
                 o.Call(s.ComputeGMGNG(g, g, o.rect));
                 o.Call(s.ComputeProductLAndSquare(g, o.rect));
                 for (const IMCSymMatrix* const second : std::initializer_list<const IMCSymMatrix*>{&l, &full, &scale})
                     o.Call(s.ComputeSS(*second, o.rect));
             }},
            {"symmetric results",
             [&](IMCSymMatrix& s, auto& o) {
                 o.Call(s.ComputeLSLTrans(l, *o.own));
                 o.Call(s.ComputeLTransSL(l, *o.own));
                 o.Call(s.ComputeLSLTrans(scale, *o.own));
                 o.Call(s.ComputeLTransSL(s, *o.own));
                 o.Call(s.ComputeSTransS(*o.own));
                 o.Call(s.ExtractFirstNRows(na, *o.own));
                 o.Call(s.ComputeSTransS(s));
             }},
            {"Cholesky",
             [&](IMCSymMatrix& s, auto& o) {
                 o.Call(s.CholInverse(ref, 1e-12, *o.own));
                 o.Call(s.CholInverse({}, 1e-12, *o.own));
                 double logDet = 0.0, det[2];
                 o.Call(s.LTChol(1e-12, logDet, true));
                 o.Call(logDet);
                 o.Call(s.LTSolve(v, o.vec));
                 o.Call(s.LTDetInverse(det, 11));
                 o.Call(det[0]);
                 o.Call(det[1]);
                 s.LTLTransL();
                 o.Call(s.LTChol(ref, 0.011, true)); // refuses some pivots: 1/10 is about 0.01 of 10
                 s.LTLLTrans();
                 MCBitSet kept(1);
                 o.Call(s.LTChol(ref, 0.01, kept, true));
                 o.Call(kept.Size());
                 for (int i = 0; i < n; ++i) o.Call(kept.IsIn(i));
                 o.Call(s.LTDetInverse(nullptr, 10));
                 o.Call(s.LTSolve(v, o.vec));
             }},
            {"editing",
             [&](IMCSymMatrix& s, auto& o) {
                 o.Call(s.ComputeAXpY(0.5, blocks) && s.ComputeAXpY(-2.0, scale) && s.ComputeAXpY(1.5, full));
                 o.Call(s.SetRowColToConst(a, 0.0) && s.IsZeroRow(a));
                 o.Call(s.GetNCheckDiagonal(2.0, o.vec) + 2.0 * s.Trace());
             }},
        };
        for (const Case& c : cases) {
            SCOPED_TRACE(::testing::Message() << c.name << ", order " << n);
            MCSymMatrix dense(full), ownDense;
            MCSymBlockDiagMatrix sparse(blocks), ownBlocks;
            Outcome<IMCSymMatrix> expected{&dense, &ownDense}, actual{&sparse, &ownBlocks};
            c.run(dense, expected);
            c.run(sparse, actual);
            EXPECT_EQ(actual.numbers, expected.numbers);
            ExpectConsistent(sparse);
            ExpectConsistent(ownBlocks);
        }
        MCSymMatrix lFull;
        ASSERT_TRUE(l.FillDenseMatrix(lFull));
        const Naive S = ToNaive(full), L = ToNaive(lFull), D = ToNaive(scale);
        EXPECT_TRUE(Near(Scalar(blocks.TraceOfProduct(l)), Scalar((S * L).Trace())));
        EXPECT_TRUE(Near(Scalar(blocks.TraceOfProductOfThree(l, scale)), Scalar((S * L * D).Trace())));
        double det[2] = {-1, -1}, detFull[2] = {-1, -1};
        EXPECT_EQ(blocks.ComputeDeterminant(1e-12, det), full.ComputeDeterminant(1e-12, detFull));
        EXPECT_TRUE(Near(Scalar(det[0]), Scalar(detFull[0])) && det[1] == detFull[1]);
    }
}

TEST(MCSymBlockDiagMatrix, StructureDecidesBeforeAnythingIsWritten)
{
    TestRandom random(403);
    MCSymBlockDiagMatrix m = RandomBlocks(random, {2, 3, 2}, {2});
    const MCSymBlockDiagMatrix other = RandomBlocks(random, {3, 2, 2}, {2});
    MCSymMatrix dense;
    ASSERT_TRUE(m.FillDenseMatrix(dense));
    dense.SetElem(6, 5, kNan);
    EXPECT_TRUE(Refuses(m, [&](auto& s) {
        return s.ComputeAXpY(1.0, other) || s.ComputeAXpY(1.0, dense) || s.SetRowColToConst(0, 1.0) ||
               s.PutRow(5, {0, 0, 0, 0, 0, 1, 1}) || s.LTChol(std::vector<double>(7, -1.0), 0.0, true) != -1;
    }));
    MCSymBlockDiagMatrix out = RandomBlocks(random, {1}, {});
    EXPECT_TRUE(Refuses(out, [&](auto& s) {
        return m.ComputeLSLTrans(other, s) || m.ComputeLTransSL(dense, s) || dense.ComputeLSLTrans(m, s) ||
               m.ComputeRSRTrans(RandomRect(random, 7, 7), s) || m.ExtractSubmatrix(std::vector<int>{3, 0, 4}, s) ||
               m.ExtractSubmatrix(std::vector<int>{0, 0}, s) || m.ExtractSubmatrix(std::vector<int>{7}, s);
    }));
    MCDiagMatrix diagonal(std::vector<double>{1});
    EXPECT_FALSE(m.ComputeSTransS(diagonal) || m.ComputeLSLTrans(m, diagonal) ||
                 m.CholInverse({}, 0.0, diagonal) != -1);
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
    EXPECT_FALSE(m.FillDenseMatrix(packed) || m.ComputeSTransS(packed));
}

TEST(MCSymBlockMatrix, AssemblesPairsOfBlocks)
{
    TestRandom random(404);
    MCSymBlockMatrix m(2, 3);
    ASSERT_TRUE(m.ResizeNRows(3));
    for (int b = 0; b < 3; ++b)
        for (int c = 0; c <= b; ++c) m.GetElemSSRef(c, b) = RandomSym(random, 3);
    MCSymMatrix whole;
    ASSERT_TRUE(m.CopyToSymMatrix(whole));
    ASSERT_EQ(whole.GetNRows(), 9);
    for (int i = 0; i < 9; ++i)
        for (int j = 0; j < 9; ++j) EXPECT_EQ(whole.GetElem(i, j), m.GetElemSSRef(i / 3, j / 3).GetElem(i % 3, j % 3));
    const MCSymBlockMatrix copy(m);
    ASSERT_TRUE(m.ResizeNRows(4));
    EXPECT_TRUE(SameMatrix(m.GetElemSSRef(2, 1), copy.GetElemSSRef(1, 2)) && m.GetElemSSRef(3, 0).Trace() == 0.0);
    m.GetElemSSRef(3, 3).Resize(2);
    EXPECT_FALSE(m.IsValid());
    EXPECT_TRUE(Refuses(whole, [&](MCSymMatrix& s) { return m.CopyToSymMatrix(s); }));
    EXPECT_FALSE(m.SetNRows(-1) || m.SetNRows(2, -1) || m.ResizeNRows(MCSymMatrix::kMaxRows + 1));
    EXPECT_EQ(m.GetNRows(), 4);
    ASSERT_TRUE(m.SetNRows(2, 1));
    m.GetElemSSRef(0, 0).Resize(0);
    EXPECT_FALSE(m.IsValid());
    m.Clear();
    EXPECT_TRUE(m.IsValid() && m.CopyToSymMatrix(whole) && whole.GetNRows() == 0);
    m = MCSymBlockMatrix(1, 1);
    EXPECT_TRUE(Shown(m).starts_with("MCSymBlockMatrix display start\nNumber of rows of blocks: 1\nPair (0, 0):\n"));
}
