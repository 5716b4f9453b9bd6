// The products that only the packed matrix forms.
#include "matrix/Matrices.h"
#include "support/AllKernels.h"

namespace {

std::vector<double> Slice(const std::vector<double>& v, int first, int count)
{
    return {v.begin() + first, v.begin() + first + count};
}

} // namespace

TEST(MCSymMatrixProducts, EqualTripleLoops)
{
    TestRandom random(201);
    for (const int n : {1, 2, 5, 12, 40})
        for (const int k : {0, 1, 4, 9}) {
            SCOPED_TRACE(::testing::Message() << "order " << n << ", other side " << k);
            const MCSymMatrix s = RandomSym(random, n), middle = RandomSym(random, k);
            const MCRectMatrix left = RandomRect(random, k, n), right = RandomRect(random, n, k);
            const std::vector<double> v = RandomVec(random, n), w = RandomVec(random, n);
            const int a = n / 3, na = n / 2, b = n / 4, nb = n - n / 4;
            std::vector<int> rows;
            for (int i = 0; i < std::min(k, n); ++i) rows.push_back((2 * i + 1) % n);
            const MCSymMatrix b2 = RandomSym(random, static_cast<int>(rows.size()));
            MCSymMatrix blocks(s);
            ASSERT_TRUE(blocks.SetNBlocks(n % 2 == 0 ? 2 : 1));
            const int size = blocks.GetBlockSize();
            const int last = n / size - 1;

            const Naive S = ToNaive(s), A = ToNaive(left), B = ToNaive(right), V = ToNaive(v), W = ToNaive(w);
            Naive sub{static_cast<int>(rows.size()), static_cast<int>(rows.size())};
            for (int i = 0; i < sub.rows; ++i)
                for (int j = 0; j < sub.cols; ++j)
                    sub.At(i, j) = s.GetElem(rows[static_cast<std::size_t>(i)], rows[static_cast<std::size_t>(j)]);
            const std::vector<double> subV = Slice(v, 0, sub.rows), subW = Slice(w, 0, sub.rows);
            MCRectMatrix full, mgn;
            MCSymMatrix scaled, subProduct, transByR(3), byRTrans(3), transSymR(3);
            ASSERT_TRUE(s.ComputeRSRTrans2(left, full) && s.ComputeMGN(left, right, mgn));
            ASSERT_TRUE(s.ComputeRDiagSRDiagTrans(left, w, scaled) && s.ComputeSSubBSSub(rows, b2, subProduct));
            ASSERT_TRUE(transByR.ComputeRTransByR(left) && byRTrans.ComputeRByRTrans(left));
            ASSERT_TRUE(transSymR.ComputeRTransSymR(left, middle));
            ExpectNear(
                {{"RSRTrans2", ToNaive(full), A * S * A.T()},
                 {"MGN", ToNaive(mgn), A * S * B},
                 {"RDiagSRDiagTrans", ToNaive(scaled), A * DiagonalOf(w) * S * DiagonalOf(w) * A.T()},
                 {"SSubBSSub", ToNaive(subProduct), sub * ToNaive(b2) * sub},
                 {"RTransByR", ToNaive(transByR), A.T() * A},
                 {"RByRTrans", ToNaive(byRTrans), A * A.T()},
                 {"RTransSymR", ToNaive(transSymR), A.T() * ToNaive(middle) * A},
                 {"VSWii", Scalar(k > 0 ? s.ComputeVSWii(v, right.GetPtr(), k) : 0.0),
                  k > 0 ? V.T() * S * ToNaive(right, n, 1) : Scalar(0)},
                 {"ViiSW", Scalar(k > 0 ? s.ComputeViiSW(right.GetPtr(), k, w) : 0.0),
                  k > 0 ? ToNaive(right, n, 1).T() * S * W : Scalar(0)},
                 {"VBW", Scalar(s.ComputeVBW(Slice(v, a, na), a, na, Slice(w, b, nb), b, nb)),
                  V.T() * S.Part(a, na, b, nb) * W},
                 {"BlockVSV", Scalar(blocks.ComputeBlockVSV(last, Slice(v, last * size, size))),
                  V.T() * S.Part(last * size, size, last * size, size) * V},
                 {"BlockVSW", Scalar(blocks.ComputeBlockVSW(0, v, w)), V.T() * S.Part(0, size, 0, size) * W},
                 {"VSymSubW", Scalar(s.ComputeVSymSubW(subV, rows, subW)), ToNaive(subV).T() * sub * ToNaive(subW)},
                 {"row parts", Scalar(s.ComputeDotProduct2RowsPart(n - 1, 0, a, na)),
                  Scalar((S.Part(n - 1, 1, a, na) * S).At(n - 1, 0))},
                 {"row part by vector", Scalar(s.ComputeDotProductRowPart(n - 1, v, a, na)),
                  Scalar((S.Part(n - 1, 1, a, na) * V).At(n - 1, 0))},
                 {"rows of L", Scalar(s.ComputeDotProduct2LRows(n - 1, n / 2)),
                  Scalar((S.Lower() * S.Lower().T()).At(n - 1, n / 2))}});
        }
}

TEST(MCSymMatrixProducts, AccumulatedInPlace)
{
    TestRandom random(202);
    for (const int n : {1, 3, 11}) {
        const auto size = static_cast<std::size_t>(n);
        const std::vector<double> v = random.Vector(size, -1.0, 1.0);
        const std::vector<double> w = random.Vector(size, -1.0, 1.0);
        const MCRectMatrix z = RandomRect(random, 70, n);
        const std::vector<double> weights = random.Vector(70, 0.0, 2.0);
        MCSymMatrix s = RandomSym(random, n);
        Naive S = ToNaive(s);
        const auto add = [&](const Naive& x, long double f) {
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j) S.At(i, j) += f * x.At(i, 0) * x.At(j, 0);
        };
        ASSERT_TRUE(s.IncrementByVV(v) && s.UpdateXX(w, -0.5) && s.UpdateXXCentered(v, w, 2.0));
        ASSERT_TRUE(s.UpdateXXPart(v, n / 2, n - n / 2, 3.0) && s.UpdateZZ(z, weights));
        Naive difference = ToNaive(v);
        for (int i = 0; i < n; ++i) difference.At(i, 0) -= w[static_cast<std::size_t>(i)];
        add(ToNaive(v), 1.0L);
        add(ToNaive(w), -0.5L);
        add(difference, 2.0L);
        add(ToNaive(v).Part(n / 2, n - n / 2, 0, 1), 3.0L);
        for (int r = 0; r < 70; ++r) {
            std::vector<double> row;
            z.GetRow(r, row);
            add(ToNaive(row), weights[static_cast<std::size_t>(r)]);
        }
        EXPECT_TRUE(Near(ToNaive(s), S));
        ASSERT_TRUE(s.SetToVW(v, w));
        EXPECT_TRUE(Near(ToNaive(s).Lower(), (ToNaive(v) * ToNaive(w).T()).Lower()));
        ASSERT_TRUE(s.SetToVV(v));
        EXPECT_TRUE(Near(ToNaive(s), ToNaive(v) * ToNaive(v).T()));
    }
}

TEST(MCSymMatrixProducts, MismatchesAreRefused)
{
    TestRandom random(203);
    MCSymMatrix s = RandomSym(random, 3);
    const std::vector<double> two{1, 2};
    const std::vector<double> three{1, 2, 3};
    const MCRectMatrix wrong = RandomRect(random, 2, 2);
    EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) {
        return NoneOf({m.UpdateXX(two, 1.0), m.UpdateXXCentered(three, two, 1.0), m.UpdateXXPart(three, 2, 2, 1.0),
                       m.UpdateZZ(wrong, three), m.UpdateZZ(RandomRect(random, 4, 3), three), m.SetToVW(two, three),
                       m.ComputeRTransSymR(wrong, m), m.SetNBlocks(2), m.SetNBlocks(0)});
    }));
    MCRectMatrix rect;
    MCSymMatrix sym;
    MCDiagMatrix diagonal;
    EXPECT_TRUE(NoneOf({s.ComputeRSRTrans2(wrong, rect), s.ComputeMGN(wrong, wrong, rect),
                        s.ComputeMGN(RandomRect(random, 2, 3), wrong, rect),
                        s.ComputeRDiagSRDiagTrans(RandomRect(random, 2, 3), two, sym),
                        s.ComputeSSubBSSub({0, 3}, RandomSym(random, 2), sym),
                        s.ComputeSSubBSSub({0, 1}, RandomSym(random, 3), sym),
                        s.ComputeSSubBSSub({0, 1}, RandomSym(random, 2), diagonal)}));
    for (const double refused :
         {s.ComputeVBW(two, 2, 2, two, 0, 2), s.ComputeVBW(two, 0, 3, two, 0, 2), s.ComputeBlockVSV(1, three),
          s.ComputeBlockVSV(0, two), s.ComputeVSymSubW(two, {0, 1, 2}, three), s.ComputeVSymSubW(three, {3}, three),
          s.ComputeDotProduct2RowsPart(0, 1, 1, 3), s.ComputeDotProductRowPart(0, two, 0, 1),
          s.ComputeDotProduct2LRows(0, 3)})
        EXPECT_EQ(refused, kMissing);
}

// Orders on both sides of the groups of the tile, one row at a time and many. An infinity in L or S, or a product that
// overflows, meets the zeros above a diagonal nowhere; NaNs are compared as one.
TEST(MCSymMatrixProducts, EveryElementHasItsTermsInIndexOrder)
{
    const auto dot = [](int first, int last, auto a, auto b) {
        double sum = 0.0;
        for (int k = first; k <= last; ++k) {
            volatile double product = a(k) * b(k);
            sum += product;
        }
        return sum;
    };
    const auto row = [](const auto& m, int i) { return [&m, i](int k) { return m.GetElem(i, k); }; };
    const auto column = [](const auto& m, int j) { return [&m, j](int k) { return m.GetElem(k, j); }; };
    const auto same = [](MCSymMatrix actual, MCSymMatrix expected) {
        for (MCSymMatrix* const m : {&actual, &expected})
            for (double& x : m->AsSpan())
                if (std::isnan(x)) x = kNan;
        return SameMatrix(actual, expected);
    };
    TestRandom random(205);
    for (const int n : {5, 47, 48, 97, 150})
        for (const double special : {0.5, -0.0, 1e300, kInf})
            for (const bool isDiagonal : {false, true}) {
                SCOPED_TRACE(::testing::Message() << n << ", " << special << (isDiagonal ? ", S diagonal" : ""));
                MCSymMatrix l = RandomSym(random, n), dense = RandomSym(random, n);
                l.SetElem(n / 2, n / 3, special);
                dense.SetElem(n - 1, n - 1, special);
                const MCDiagMatrix diagonal(Diagonal(dense));
                const IMCSymMatrix& s = isDiagonal ? static_cast<const IMCSymMatrix&>(diagonal) : dense;
                const MCRectMatrix r = RandomRect(random, 5, n);
                MCRectMatrix sl(n, n), slTrans(n, n), rs(5, n), product;
                for (int i = 0; i < n; ++i)
                    for (int j = 0; j < n; ++j) {
                        const int first = isDiagonal ? i : 0, last = isDiagonal ? i : n - 1; // the terms that S has
                        sl.SetElem(i, j, dot(std::max(first, j), last, row(s, i), row(l, j)));
                        slTrans.SetElem(i, j, dot(first, std::min(last, j), row(s, i), row(l, j)));
                        if (j < 5) rs.SetElem(j, i, dot(first, last, row(r, j), row(s, i)));
                    }
                MCSymMatrix lslTrans(n), lTransSL(n), llTrans(n);
                for (int i = 0; i < n; ++i)
                    for (int j = 0; j <= i; ++j) {
                        lslTrans.SetElem(i, j, dot(0, j, column(slTrans, i), row(l, j)));
                        lTransSL.SetElem(i, j, dot(isDiagonal ? i : j, n - 1, column(sl, i), row(l, j)));
                        llTrans.SetElem(i, j, dot(0, j, row(l, i), row(l, j)));
                    }
                ForEachKernelSet([&] {
                    MCSymMatrix out;
                    ASSERT_TRUE(s.ComputeLSLTrans(l, out));
                    EXPECT_TRUE(same(out, lslTrans));
                    ASSERT_TRUE(s.ComputeLTransSL(l, out));
                    EXPECT_TRUE(same(out, lTransSL));
                    out = l;
                    out.LTLLTrans();
                    EXPECT_TRUE(same(out, llTrans));
                    if (isDiagonal) return; // one factor, no sum
                    std::vector<double> v;
                    ASSERT_TRUE(s.ComputeRS(r, product) && r.GetRow(4, v) && s.ComputeSV(v, v));
                    EXPECT_TRUE(SameMatrix(product, rs) && SameBits(v, {rs.GetRowPtr(4), v.size()}));
                });
            }
}
