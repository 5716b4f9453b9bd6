// The interface of symmetric matrices, run on every kind behind it.
#include "matrix/Matrices.h"

namespace {

std::unique_ptr<IMCSymMatrix> MakePacked(TestRandom& random, int n)
{
    return std::make_unique<MCSymMatrix>(RandomSym(random, n));
}

std::unique_ptr<IMCSymMatrix> MakeDiagonal(TestRandom& random, int n)
{
    return std::make_unique<MCDiagMatrix>(RandomVec(random, n));
}

/// Blocks of order 1 to 9, some of them diagonal.
std::unique_ptr<IMCSymMatrix> MakeBlockDiagonal(TestRandom& random, int n)
{
    auto matrix = std::make_unique<MCSymBlockDiagMatrix>();
    while (n > matrix->GetNRows()) {
        const int size = std::min(1 + random.Below(9), n - matrix->GetNRows());
        EXPECT_TRUE(matrix->AddBlock(*(random.Below(3) == 0 ? MakeDiagonal : MakePacked)(random, size)));
    }
    return matrix;
}

struct Kind {
    const char* name;
    std::unique_ptr<IMCSymMatrix> (*make)(TestRandom&, int);
};

class IMCSymMatrixTest : public ::testing::TestWithParam<Kind> {};

INSTANTIATE_TEST_SUITE_P(AllKinds, IMCSymMatrixTest,
                         ::testing::Values(Kind{"Packed", MakePacked}, Kind{"Diagonal", MakeDiagonal},
                                           Kind{"BlockDiagonal", MakeBlockDiagonal}),
                         [](const auto& kind) { return std::string(kind.param.name); });

} // namespace

TEST_P(IMCSymMatrixTest, ProductsEqualTripleLoops)
{
    TestRandom random(101);
    for (const int n : {0, 1, 2, 3, 7, 8, 33, 70})
        for (const int k : {0, 1, 3, 4, 9, 30}) {
            if (k == 30 && n != 70) continue; // of which products are formed by tiles
            SCOPED_TRACE(::testing::Message() << "order " << n << ", other side " << k);
            const std::unique_ptr<IMCSymMatrix> owner = GetParam().make(random, n);
            const IMCSymMatrix& s = *owner;
            const MCSymMatrix other = RandomSym(random, n);
            const MCDiagMatrix diagonal(RandomVec(random, n));
            const MCRectMatrix left = RandomRect(random, k, n), right = RandomRect(random, n, k);
            const MCRectMatrix m = RandomRect(random, n, n), g = RandomRect(random, n, n);
            const std::vector<double> v = RandomVec(random, n), w = RandomVec(random, n);
            std::vector<double> column;
            m.GetCol(0, column);
            const int a = n / 3, na = n / 2, b = n / 4, nb = n - n / 4; // two parts

            const Naive S = ToNaive(s), O = ToNaive(other), D = ToNaive(diagonal), A = ToNaive(left);
            const Naive B = ToNaive(right), M = ToNaive(m), G = ToNaive(g), V = ToNaive(v), W = ToNaive(w);
            const Naive L = S.Lower(), vRow = V.T();
            ExpectNear(
                {{"SV", Vec([&](auto& out) { return s.ComputeSV(v, out); }), S * V},
                 {"LV", Vec([&](auto& out) { return s.ComputeLV(v, out); }), L * V},
                 {"LTransV", Vec([&](auto& out) { return s.ComputeLTransV(v, out); }), L.T() * V},
                 {"VSV", Scalar(s.ComputeVSV(v)), vRow * S * V},
                 {"VSW", Scalar(s.ComputeVSW(v, w)), vRow * S * W},
                 {"VSWParts", Scalar(s.ComputeVSWParts(v, a, na, w, b, nb)), vRow * S.Part(a, na, b, nb) * W},
                 {"RS", Rect([&](auto& out) { return s.ComputeRS(left, out); }), A * S},
                 {"RTransS", Rect([&](auto& out) { return s.ComputeRTransS(right, out); }), B.T() * S},
                 {"RSRTrans", Sym([&](auto& out) { return s.ComputeRSRTrans(left, out); }), A * S * A.T()},
                 {"RTransSR", Sym([&](auto& out) { return s.ComputeRTransSR(right, out); }), B.T() * S * B},
                 {"RTransSV", Vec([&](auto& out) { return s.ComputeRTransSV(right, v, out); }), B.T() * (S * V)},
                 {"RVD", Rect([&](auto& out) { return s.ComputeRVD(left, w, out); }), A * S * DiagonalOf(w)},
                 {"RVDParts", Rect([&](auto& out) { return s.ComputeRVDParts(left, a, na, w, 0, n, out); }),
                  A * S.Part(a, na, 0, n) * DiagonalOf(w)},
                 {"GSG", Rect([&](auto& out) { return s.ComputeGSG(g, out); }), G * S * G},
                 {"GMG", Rect([&](auto& out) { return s.ComputeGMG(m, out); }), S * M * S},
                 {"GMGNG", Rect([&](auto& out) { return s.ComputeGMGNG(m, g, out); }), S * M * S * G * S},
                 {"LSLTrans", Sym([&](auto& out) { return s.ComputeLSLTrans(other, out); }),
                  O.Lower() * S * O.Lower().T()},
                 {"LSLTrans of itself", Sym([&](auto& out) { return s.ComputeLSLTrans(s, out); }), L * S * L.T()},
                 {"LTransSL", Sym([&](auto& out) { return s.ComputeLTransSL(other, out); }),
                  O.Lower().T() * S * O.Lower()},
                 {"LTransSL, L diagonal", Sym([&](auto& out) { return s.ComputeLTransSL(diagonal, out); }), D * S * D},
                 {"SS", Rect([&](auto& out) { return s.ComputeSS(other, out); }), S * O},
                 {"SS, second diagonal", Rect([&](auto& out) { return s.ComputeSS(diagonal, out); }), S * D},
                 {"STransS", Sym([&](auto& out) { return s.ComputeSTransS(out); }), S * S},
                 {"TraceOfProduct", Scalar(s.TraceOfProduct(other)), Scalar((S * O).Trace())},
                 {"TraceOfProduct, diagonal", Scalar(s.TraceOfProduct(diagonal)), Scalar((S * D).Trace())},
                 {"TraceOfProductOfThree", Scalar(s.TraceOfProductOfThree(other, s)), Scalar((S * O * S).Trace())},
                 {"Trace", Scalar(s.Trace()), Scalar(S.Trace())},
                 {"VecPartByL", Vec([&](auto& out) { return s.ComputeVecPartByL(v, a, na, out); }),
                  L.T() * V.Part(a, na, 0, 1)},
                 {"VecIIncrPartByL",
                  Vec([&](auto& out) { return s.ComputeVecIIncrPartByL(m.GetPtr(), n, a, na, out); }),
                  L.T() * ToNaive(column).Part(a, na, 0, 1)},
                 {"ProductLAndSquare", Rect([&](auto& out) { return s.ComputeProductLAndSquare(m, out); }), L * M},
                 {"dense copy", Sym([&](auto& out) { return s.FillDenseMatrix(out); }), S}});
        }
}

// All rows, and all parts of the rows; v is read as it stands and with an increment of 2.
TEST_P(IMCSymMatrixTest, RowOperationsEqualProductsOfTheFullMatrix)
{
    TestRandom random(102);
    const int n = 6;
    const std::unique_ptr<IMCSymMatrix> s = GetParam().make(random, n);
    const MCSymMatrix other = RandomSym(random, n);
    const std::vector<double> v = random.Vector(2 * n, -1.0, 1.0);
    const Naive S = ToNaive(*s), L = S.Lower(), V{n, 1, {v.begin(), v.begin() + n}}, squares = S * S;
    Naive even{n, 1};
    for (int i = 0; i < n; ++i) even.At(i, 0) = v[static_cast<std::size_t>(2 * i)];
    for (int i = 0; i < n; ++i) {
        const auto part = [i](const Naive& m, const Naive& vector) { return Scalar((m.T() * vector).At(i, 0)); };
        std::vector<double> stored, sum(v.begin(), v.begin() + n), productWithL;
        ASSERT_TRUE(s->GetRow(i, stored) && s->IncrVecByRow(i, 0.5, sum) &&
                    s->ComputeSymRowByL(i, other, productWithL));
        for (int j = 0; j < n; ++j) EXPECT_EQ(stored[static_cast<std::size_t>(j)], s->GetElem(j, i));
        Naive expectedSum = V;
        for (int j = 0; j < n; ++j) expectedSum.At(j, 0) += 0.5L * S.At(i, j);
        ExpectNear({{"IncrVecByRow", ToNaive(sum), expectedSum},
                    {"SymRowByL", ToNaive(productWithL), L.T() * ToNaive(other).Part(0, n, i, 1) * Ones(n)},
                    {"DotProduct2Rows", Scalar(s->ComputeDotProduct2Rows(i, n - 1)), Scalar(squares.At(i, n - 1))},
                    {"RowDotProductS", Scalar(s->ComputeRowDotProductS(i, v)), part(S, V)}});
        for (int first = 0; first <= n; ++first)
            for (int count = 0; count <= n - first; ++count) {
                const Naive evenPart = even.Part(first, count, 0, 1), vPart = V.Part(first, count, 0, 1);
                std::vector<double> updated(v);
                ASSERT_TRUE(s->UpdateDenseColumnPart(i, -2.0, updated.data(), 2, first, count));
                const Naive change = L.Part(first, count, i, 1) * Ones(n);
                for (int j = 0; j < n; ++j) // back to what it was
                    updated[static_cast<std::size_t>(2 * j)] += static_cast<double>(2.0L * change.At(j, 0));
                ExpectNear(
                    {{"Col", Scalar(s->DotProductColVecIIncrPart(i, v.data(), 2, first, count)), part(S, evenPart)},
                     {"LCol", Scalar(s->DotProductLColVecIIncrPart(i, v.data(), 2, first, count)), part(L, evenPart)},
                     {"LColDense", Scalar(s->DotProductLColDenseRowPart(i, v.data(), first, count)), part(L, vPart)},
                     {"UpdateDenseColumn", ToNaive(updated), ToNaive(v)}});
            }
    }
}

TEST_P(IMCSymMatrixTest, EditingAndReductions)
{
    TestRandom random(103);
    const std::unique_ptr<IMCSymMatrix> s = GetParam().make(random, 5);
    s->SetElem(3, 3, -0.25);
    Naive S = ToNaive(*s);
    double maxDiag = kNan, minDiag = kNan, maxOff = kNan, minOff = kNan;
    ASSERT_TRUE(s->MaxMinDiagOffDiag(maxDiag, minDiag, maxOff, minOff));
    const auto inside = [](long double x, double max, double min) { return x <= max && x >= min; };
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(inside(S.At(i, i), maxDiag, minDiag));
        for (int j = 0; j < i; ++j) EXPECT_TRUE(inside(S.At(i, j), maxOff, minOff));
    }
    std::vector<double> diag;
    EXPECT_FALSE(s->GetNCheckDiagonal(2.0, diag));
    EXPECT_EQ(diag[3], -0.5);

    s->ChangeSign();
    s->MultiplyByNumber(4.0);
    ASSERT_TRUE(s->SetRowColToConst(2, 0.0) && s->ComputeAXpY(0.5, *s)); // 1.5 times itself
    EXPECT_TRUE(s->IsZeroRow(2) && !s->IsZeroRow(1));
    for (long double& x : S.elements) x *= -6.0L;
    for (int i = 0; i < 5; ++i) S.At(i, 2) = S.At(2, i) = 0.0L;
    EXPECT_TRUE(Near(ToNaive(*s), S, 1e-15));
    MCSymMatrix sub;
    ASSERT_TRUE(s->ExtractSubmatrix(std::vector<int>{3, 1, 2}, sub));
    EXPECT_TRUE(sub.GetElem(0, 0) == s->GetElem(3, 3) && sub.GetElem(0, 1) == s->GetElem(3, 1));
    ASSERT_TRUE(s->ExtractSubmatrix(Bits(5, {1, 4}), sub));
    EXPECT_EQ(sub.GetElem(1, 0), s->GetElem(4, 1));
    ASSERT_TRUE(s->ExtractFirstNRows(2, sub));
    EXPECT_TRUE(Near(ToNaive(sub), ToNaive(*s, 2, 2), 0.0));
    for (const std::vector<int>& rows : {std::vector<int>{0, 5}, {-1}, {1, 1}})
        EXPECT_TRUE(Refuses(sub, [&](MCSymMatrix& m) { return s->ExtractSubmatrix(rows, m); }));
    s->ZeroOutNonDiag();
    s->AddToDiagonal(1.0);
    EXPECT_TRUE(s->GetElem(2, 2) == 1.0 && s->GetElem(4, 3) == 0.0);
    s->ZeroOut();
    EXPECT_TRUE(Near(ToNaive(*s), Naive{5, 5}, 0.0));
    EXPECT_TRUE(NoneOf({s->GetRow(5, diag), s->PutRow(-1, diag), s->PutRow(1, {1.0}), s->IsZeroRow(5)}));
    s->Clear();
    EXPECT_TRUE(s->GetNRows() == 0 && !s->MaxMinDiag(maxDiag, minDiag));
    const std::unique_ptr<IMCSymMatrix> one = GetParam().make(random, 1);
    EXPECT_TRUE(one->MaxMinDiag(maxDiag, minDiag) && maxDiag == one->GetElem(0, 0) && minDiag == maxDiag);
}

TEST_P(IMCSymMatrixTest, MismatchedOperandsAreRefused)
{
    TestRandom random(104);
    const std::unique_ptr<IMCSymMatrix> s = GetParam().make(random, 3);
    const std::vector<double> two{1, 2};
    const std::vector<double> three{1, 2, 3};
    std::vector<double> vec{7.0};
    MCRectMatrix rect = RandomRect(random, 1, 1);
    MCSymMatrix sym = RandomSym(random, 1);
    const MCRectMatrix wrong = RandomRect(random, 4, 4), tall = RandomRect(random, 3, 2);
    const MCSymMatrix four = RandomSym(random, 4);
    const MCRectMatrix rectBefore(rect);
    const MCSymMatrix symBefore(sym);
    EXPECT_TRUE(NoneOf({s->ComputeSV(two, vec),
                        s->ComputeLV(two, vec),
                        s->ComputeLTransV(two, vec),
                        s->ComputeRTransSV(wrong, three, vec),
                        s->ComputeRTransSV(tall, two, vec),
                        s->ComputeVecPartByL(three, 1, 3, vec),
                        s->LTSolve(two, vec),
                        s->ComputeRS(wrong, rect),
                        s->ComputeRTransS(wrong, rect),
                        s->ComputeRVD(wrong, three, rect),
                        s->ComputeGSG(tall, rect),
                        s->ComputeGMG(wrong, rect),
                        s->ComputeGMGNG(wrong, wrong, rect),
                        s->ComputeSS(four, rect),
                        s->ComputeProductLAndSquare(tall, rect),
                        s->ComputeRSRTrans(tall, sym),
                        s->ComputeRTransSR(wrong, sym),
                        s->ComputeLSLTrans(four, sym),
                        s->ComputeLTransSL(four, sym),
                        s->ComputeAXpY(1.0, four),
                        s->ExtractFirstNRows(4, sym)}));
    EXPECT_EQ(vec, (std::vector<double>{7.0}));
    EXPECT_TRUE(SameMatrix(rect, rectBefore));
    EXPECT_TRUE(SameMatrix(sym, symBefore));
    for (const double refused :
         {s->ComputeVSV(two), s->ComputeVSW(two, three), s->ComputeVSW(three, two), s->TraceOfProduct(four),
          s->ComputeVSWParts(three, 2, 2, three, 0, 1), s->ComputeVSWParts(three, 0, 1, three, -1, 2),
          s->ComputeRowDotProductS(3, three), s->ComputeRowDotProductS(0, two), s->ComputeDotProduct2Rows(0, 3),
          s->TraceOfProductOfThree(*s, four), s->DotProductLColVecIIncrPart(0, three.data(), 1, 0, 4)})
        EXPECT_EQ(refused, kMissing);

    MCDiagMatrix diagonal(2); // symmetric results that are not diagonal do not go into a diagonal matrix
    EXPECT_TRUE(NoneOf(
        {s->ComputeRSRTrans(RandomRect(random, 2, 3), diagonal), s->ComputeLSLTrans(RandomSym(random, 3), diagonal)}));
    EXPECT_EQ(diagonal.AsVector(), (std::vector<double>{0, 0}));
}

TEST_P(IMCSymMatrixTest, ResultsMayBeOperands)
{
    TestRandom random(105);
    const std::unique_ptr<IMCSymMatrix> s = GetParam().make(random, 4);
    std::vector<double> v = RandomVec(random, 4);
    MCRectMatrix r = RandomRect(random, 4, 4);
    MCSymMatrix l = RandomSym(random, 4);
    const Naive S = ToNaive(*s), V = ToNaive(v), R = ToNaive(r), L = ToNaive(l).Lower();
    ASSERT_TRUE(s->ComputeSV(v, v) && s->ComputeGSG(r, r) && s->ComputeLSLTrans(l, l) && s->ComputeSTransS(*s));
    ExpectNear({{"SV", ToNaive(v), S * V},
                {"GSG", ToNaive(r), R * S * R},
                {"LSLTrans", ToNaive(l), L * S * L.T()},
                {"STransS", ToNaive(*s), S * S}});
}

// Elements that meet no NaN stay what they are: a skipped term is not one that is multiplied by 0.
TEST_P(IMCSymMatrixTest, NanReachesOnlyWhatItIsMultipliedWith)
{
    TestRandom random(106);
    const std::unique_ptr<IMCSymMatrix> s = GetParam().make(random, 3);
    s->SetElem(2, 2, kNan);
    std::vector<double> out;
    ASSERT_TRUE(s->ComputeLV({1, 1, 1}, out));
    EXPECT_TRUE(!std::isnan(out[0]) && !std::isnan(out[1]) && std::isnan(out[2]));
    MCSymMatrix result;
    ASSERT_TRUE(s->ComputeLSLTrans(MCSymMatrix(3), result));
    EXPECT_EQ(result.GetElem(1, 0), 0.0);
}

TEST_P(IMCSymMatrixTest, CholeskyOfAPositiveDefiniteMatrixOfEachKind)
{
    TestRandom random(107);
    const std::unique_ptr<IMCSymMatrix> s = GetParam().make(random, 5);
    s->AddToDiagonal(6.0); // diagonally dominant
    const Naive S = ToNaive(*s);
    std::vector<double> ref;
    ASSERT_TRUE(s->GetNCheckDiagonal(1.0, ref));
    MCSymMatrix inverse;
    EXPECT_EQ(s->CholInverse(ref, 1e-12, inverse), 5);
    EXPECT_TRUE(Near(S * ToNaive(inverse), Identity(5)));
    double det[2];
    ASSERT_TRUE(s->ComputeDeterminant(0.0, det));

    double logDet = 0.0;
    EXPECT_EQ(s->LTChol(1e-12, logDet, true), 0);
    EXPECT_NEAR(logDet, std::log(det[0]) + det[1] * std::log(10.0), 1e-13);
    EXPECT_TRUE(Near(ToNaive(*s).Lower() * ToNaive(*s).Lower().T(), S));
    std::vector<double> x = RandomVec(random, 5);
    const Naive B = ToNaive(x);
    ASSERT_TRUE(s->LTSolve(x, x));
    EXPECT_TRUE(Near(S * ToNaive(x), B));
    double factorDet[2];
    EXPECT_EQ(s->LTDetInverse(factorDet, 1), 0);
    EXPECT_NEAR(2.0 * (std::log(factorDet[0]) + factorDet[1] * std::log(10.0)), logDet, 1e-13);
    s->LTLLTrans();
    EXPECT_TRUE(Near(ToNaive(*s), S));

    MCBitSet kept;
    EXPECT_TRUE(NoneOf({s->LTChol({1, 1, 1, 1, -1}, 1e-12, true) >= 0, s->LTChol(ref, -1e-12, true) >= 0,
                        s->LTChol({1, kNan, 1, 1, 1}, 1e-12, kept, true) >= 0,
                        s->LTChol({1, 1}, 1e-12, kept, true) >= 0, s->LTChol(kNan, logDet, true) >= 0}));
    EXPECT_TRUE(Near(ToNaive(*s), S));
    EXPECT_EQ(kept.Size(), 0);
    s->SetElem(0, 0, kInf); // times the zero would be no number
    s->SetElem(1, 1, 0.0);
    EXPECT_TRUE(s->LTDetInverse(factorDet, 1) == 1 && factorDet[0] == 0.0 && factorDet[1] == 0.0);
}
