// Objects of this folder's classes after a move, and when memory runs out at any allocation of a member.
#include "matrix/Matrices.h"
#include "support/MovedFrom.h"

namespace {

const auto kShow = [](const auto& object) { return Shown(object); };

MCRectMatrix Dense(int rows, int cols)
{
    TestRandom random(901);
    return RandomRect(random, rows, cols);
}

MCSymMatrix Packed(int n)
{
    TestRandom random(902);
    return RandomCrossProducts(random, n);
}

MCSparseRectMatrix Sparse(int rows)
{
    const MCRectMatrix dense = Dense(rows, 2);
    MCSparseRectMatrix matrix;
    EXPECT_TRUE(matrix.CreateBlockDiagonal({&dense}));
    return matrix;
}

MCSymBlockDiagMatrix Blocks(int n)
{
    MCSymBlockDiagMatrix matrix;
    EXPECT_TRUE(matrix.AddBlock(Packed(n)) && matrix.AddBlock(MCDiagMatrix({3, 4})) && matrix.AddBlock(Packed(n + 1)));
    return matrix;
}

MCSymBlockMatrix Grid(int n)
{
    MCSymBlockMatrix matrix(2, n);
    matrix.GetElemSSRef(1, 0) = Packed(n);
    return matrix;
}

template <class T>
struct Holder {
    T matrix;
};

/// Copies of what holds a matrix must not promise that they cannot fail; moves must.
template <class... T>
constexpr bool kPromisesAreRight = ((!std::is_nothrow_copy_assignable_v<Holder<T>> &&
                                     std::is_nothrow_move_assignable_v<Holder<T>>)&&...);

} // namespace

TEST(WholeObjects, MovedFromIsEmptyAndUsable)
{
    const auto useSym = [](IMCSymMatrix& m) {
        std::vector<double> v, ref;
        MCRectMatrix rect;
        m.GetDiagonal(ref);
        EXPECT_EQ(ref.size(), static_cast<std::size_t>(m.GetNRows()));
        EXPECT_TRUE(m.ComputeSV(ref, v) && m.ComputeRS(MCRectMatrix(2, m.GetNRows()), rect) && m.LTSolve(v, v));
        EXPECT_TRUE(m.CholInverse(ref, 0.0, m) >= 0 && m.LTChol(ref, 0.0, true) >= 0 && m.ComputeAXpY(1.0, m));
    };
    ExpectEmptyAfterMove(Packed(3), MCSymMatrix(), kShow, useSym);
    ExpectEmptyAfterMove(MCDiagMatrix({1, 2}), MCDiagMatrix(), kShow, useSym);
    ExpectEmptyAfterMove(Blocks(2), MCSymBlockDiagMatrix(), kShow, [&](MCSymBlockDiagMatrix& m) {
        useSym(m);
        const int n = m.GetNRows();
        EXPECT_TRUE(m.AddBlock(MCDiagMatrix({1, 2})) && m.GetElem(n + 1, n + 1) == 2.0);
        m.Clear();
    });
    ExpectEmptyAfterMove(Grid(2), MCSymBlockMatrix(), kShow, [](MCSymBlockMatrix& m) {
        MCSymMatrix whole;
        EXPECT_TRUE(m.IsValid() && m.CopyToSymMatrix(whole) && m.ResizeNRows(1));
        m.Clear();
    });
    ExpectEmptyAfterMove(Dense(2, 3), MCRectMatrix(), kShow, [](MCRectMatrix& m) {
        EXPECT_TRUE(m.IsValidMatrix() && m.ShiftRows(1) && m.AddRow() > 0);
        m.Clear();
    });
    ExpectEmptyAfterMove(Sparse(2), MCSparseRectMatrix(), kShow, [](MCSparseRectMatrix& m) {
        std::vector<double> v(static_cast<std::size_t>(m.GetNCols()));
        EXPECT_EQ(m.AddRow() < 0, !m.IsValidMatrix());
        EXPECT_TRUE(m.ComputeRV(v, v) && m.ComputeVR(v, v));
        m.Clear();
    });
}

TEST(WholeObjects, AssignmentWithoutMemoryLeavesThemAsTheyWere)
{
    static_assert(kPromisesAreRight<MCSymMatrix, MCRectMatrix, MCDiagMatrix, MCSparseRectMatrix, MCSymBlockDiagMatrix,
                                    MCSymBlockMatrix>);
    ExpectAssignmentIsWhole(Packed(2), Packed(5), kShow);
    ExpectAssignmentIsWhole(Dense(2, 2), Dense(5, 4), kShow);
    ExpectAssignmentIsWhole(MCDiagMatrix(std::vector<double>{1.0}), MCDiagMatrix(std::vector<double>{2.0, 3.0}), kShow);
    ExpectAssignmentIsWhole(Sparse(1), Sparse(4), kShow);
    ExpectAssignmentIsWhole(Blocks(1), Blocks(4), kShow);
    ExpectAssignmentIsWhole(Grid(1), Grid(3), kShow);
}

// Orders on both sides of those from which blocks are used.
TEST(WholeObjects, MembersWithoutMemoryLeaveThemAsTheyWere)
{
    const auto whole = [](const auto& filled, auto change) {
        ExpectWholeWhenMemoryRunsOut(filled, std::decay_t<decltype(filled)>(), change, kShow);
    };
    for (const int n : {3, 60}) {
        const MCSymMatrix s = Packed(n);
        const MCSymBlockDiagMatrix blocks = Blocks(n);
        const std::vector<double> ref = Diagonal(s), refOfBlocks(3000, 0.5);
        whole(s, [&](MCSymMatrix& m) { m.UpdateZZ(Dense(80, n), std::vector<double>(80, 1.0)); });
        whole(s, [&](MCSymMatrix& m) { m.LTChol(ref, 1e-12, true); });
        whole(s, [&](MCSymMatrix& m) { m.LTDetInverse(nullptr, 10); });
        whole(s, [&](MCSymMatrix& m) { m.LTLLTrans(); });
        whole(s, [&](MCSymMatrix& m) {
            MCBitSet swept(n);
            m.SweepOnAll(1e-12, ref, swept, true);
        });
        whole(s, [&](MCSymMatrix& m) { m.CholInverse(ref, 1e-12, m); }); // -1 also leaves it as it was
        whole(blocks, [&](MCSymBlockDiagMatrix& m) { m.LTChol(refOfBlocks, 1e-12, true); });
        whole(blocks, [&](MCSymBlockDiagMatrix& m) { m.LTDetInverse(nullptr, 10); });
        for (const int order : {n, n + 1})
            whole(blocks, [&](MCSymBlockDiagMatrix& m) { m.ReplaceBlock(0, Packed(order)); });
        whole(blocks, [&](MCSymBlockDiagMatrix& m) { m.ReplaceBlock(2, MCDiagMatrix(1)); });
        whole(blocks, [&](MCSymBlockDiagMatrix& m) { m.AddBlock(s); });
    }
    const MCRectMatrix r = Dense(3, 2);
    whole(r, [](MCRectMatrix& m) { m.CopyFromColMajor(std::vector<double>(20, 1.0).data(), 4, 5); });
    whole(r, [](MCRectMatrix& m) { m.AddColumn({1, 2, 3}); });
    whole(r, [](MCRectMatrix& m) { m.Transpose(); });
    whole(Sparse(10), [](MCSparseRectMatrix& m) { m.AddRow(); });
}

// A result that may be the operand is an operand until it is whole.
TEST(WholeObjects, SolutionsWithoutMemoryLeaveTheRightSide)
{
    const MCSymMatrix s = Packed(3);
    const MCRectMatrix r = Dense(3, 2);
    const std::vector<double> b{3, 1, 2};
    const auto same = [](const std::vector<double>& v) { return v; };
    const auto whole = [&](auto solve) { ExpectWholeWhenMemoryRunsOut(b, {}, solve, same); };
    whole([&](std::vector<double>& x) { s.LTSolve(x, x); });
    whole([&](std::vector<double>& x) { r.EstimateLinearGI(x, x, 1e-8); });
    whole([&](std::vector<double>& x) { r.ResidOfOrthProjection(x, x, 1e-8); });
    whole([&](std::vector<double>& x) { s.SolveIndefiniteGI(x, x, 1e-8); });

    // A sparse vector owns nothing; what it fills is as it was.
    const std::vector<int> indices{0, 1};
    const std::vector<double> values{3, 1};
    const MCSparseVector sparse(indices, values);
    whole([&](std::vector<double>& x) { sparse.ConvertToRegularVector(x); });
    using Probabilities = std::pair<std::vector<double>, double>;
    const Probabilities before{{}, 9.0};
    ExpectWholeWhenMemoryRunsOut(
        before, before, [&](Probabilities& p) { EXPECT_TRUE(sparse.ComputeProbabilities(b, 2, 3, p.first, p.second)); },
        [](const Probabilities& p) { return p; });
    ExpectWholeWhenMemoryRunsOut(
        MCSymMatrix(), MCSymMatrix(), [&](MCSymMatrix& m) { sparse.QuadraticOuterProduct(m); }, kShow);
    ExpectWholeWhenMemoryRunsOut(
        Sparse(2), MCSparseRectMatrix(), [&](MCSparseRectMatrix& m) { m.AddRow(sparse); }, kShow);

    // The order -1 says that there was no memory for the copy. Nothing may take it for a size.
    MCSymMatrix out = Packed(2);
    {
        const MemoryLimit none(0);
        EXPECT_EQ(s.CholInverse(b, 1e-12, out), -1);
    }
    EXPECT_EQ(out.GetNRows(), -1);
    std::vector<double> v{1};
    MCRectMatrix rect;
    MCBitSet swept;
    out.GetDiagonal(v);
    out.LTLLTrans();
    out.AddToDiagonal(1.0);
    EXPECT_TRUE(v.empty() && out.LTInverse() && !out.SweepOnAll(1e-8, v, swept, true));
    EXPECT_EQ(out.TransformToPositiveDefinite(1e-8), 0);
    EXPECT_TRUE(NoneOf({out.ComputeSV(b, v), out.LTSolve(b, v), out.ComputeSS(out, rect), out.LTChol(b, 0.0, true) >= 0,
                        out.ComputeSTransS(out), out.ComputeLSLTrans(out, out)}));
    EXPECT_TRUE(Shown(out).starts_with("MCSymMatrix display start\nNumber of rows: -1\n"));
    EXPECT_TRUE(out.SetNRows(1) && out.GetElem(0, 0) == 0.0);
}
