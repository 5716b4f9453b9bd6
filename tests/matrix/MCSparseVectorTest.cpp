#include "matrix/Matrices.h"

TEST(MCSparseVector, IsValidWhenIndicesAscend)
{
    const std::vector<double> values{1, 2, 3};
    struct Case {
        std::vector<int> indices;
        bool valid;
    };
    for (const Case& c : {Case{{0, 2, 5}, true}, Case{{0, 2, 2}, false}, Case{{3, 2, 5}, false},
                          Case{{-1, 2, 5}, false}, Case{{0, 2}, false}, Case{{}, false}}) {
        const MCSparseVector v(c.indices, values);
        EXPECT_EQ(v.IsValid(), c.valid);
        EXPECT_EQ(v.GetMinVecSize(), c.indices.empty() ? 0 : c.indices.back() + 1);
        std::vector<double> dense{7.0};
        EXPECT_EQ(v.ConvertToRegularVector(dense), c.valid);
        EXPECT_EQ(dense, c.valid ? (std::vector<double>{1, 0, 2, 0, 0, 3}) : (std::vector<double>{7.0}));
    }
    const std::vector<int> indices{0, 2, 5};
    const MCSparseVector v(indices, values);
    EXPECT_TRUE(v.GetIndex(1) == 2 && v.GetIndex(3) == -1 && v.GetValue(2) == 3.0 && v.GetValue(-1) == kMissing);
    const std::vector<double> shorter{1, 2};
    EXPECT_EQ(MCSparseVector(indices, shorter).GetValue(2), kMissing);
}

// No matrix or vector has such an element: whatever wants one says so.
TEST(MCSparseVector, LargestIndexIsNeverInside)
{
    const std::vector<int> indices{0, std::numeric_limits<int>::max()}, first{0};
    const std::vector<double> values{1, 2}, one{1};
    const MCSparseVector v(indices, values), unit(first, one);
    MCSymMatrix s(3);
    MCSparseRectMatrix sparse(1, std::numeric_limits<int>::max(), 2);
    std::vector<double> dense(3), probs;
    double logSum = 0.0;
    EXPECT_TRUE(v.IsValid() && v.GetMinVecSize() == std::numeric_limits<int>::max());
    EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) {
        return NoneOf({v.QuadraticOuterProduct(m), v.QuadraticOuterProductIncr(m, 1.0),
                       v.IncrementRowPart(m, 0, 0, 1.0), v.IncrementPart(dense, 0, 1.0), sparse.AddRow(v) >= 0,
                       v.ComputeProbabilities(dense, 1, std::numeric_limits<int>::max(), probs, logSum)});
    }));
    for (const double refused : {s.ComputeSpVSSpW(v, unit), s.ComputeSpVSSpW(unit, v), v.InnerProductWithPart(dense, 0),
                                 MCRectMatrix(1, 1).ComputeSpVRSpW(unit, v)})
        EXPECT_EQ(refused, kMissing);
}

TEST(MCSparseVector, ProductsEqualThoseOfTheDenseVector)
{
    const std::vector<int> indices{1, 3, 4};
    const std::vector<double> values{2, -1, 0.5};
    const MCSparseVector v(indices, values);
    const std::vector<double> dense{0, 2, 0, -1, 0.5};
    const int other[] = {0, 1, 4, 9};
    const double otherValues[] = {8, 16, 32, 64};
    EXPECT_EQ(MCSparseVector::InnerProduct(indices.data(), values.data(), 3, other, otherValues, 4), 48.0);
    EXPECT_EQ(MCSparseVector::InnerProduct(indices.data(), values.data(), 3, other, otherValues, 0), 0.0);

    std::vector<double> w{1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(v.InnerProductWithPart(w, 2), 2.0 * 4 - 6 + 0.5 * 7);
    EXPECT_EQ(v.InnerProductWithPart(w, 3), kMissing);
    EXPECT_TRUE(NoneOf({v.IncrementPart(w, -1, 1.0), v.IncrementPart(w, 3, 1.0)}));
    EXPECT_TRUE(v.IncrementPart(w, 2, 2.0));
    EXPECT_EQ(w, (std::vector<double>{1, 2, 3, 8, 5, 4, 8}));

    TestRandom random(1);
    MCSymMatrix s;
    ASSERT_TRUE(v.QuadraticOuterProduct(s));
    EXPECT_TRUE(Near(ToNaive(s), ToNaive(dense) * ToNaive(dense).T()));
    MCSymMatrix expected = s = RandomSym(random, 7);
    ASSERT_TRUE(v.QuadraticOuterProductPartIncr(s, 2, 3.0));
    ASSERT_TRUE(expected.UpdateXX({0, 0, 0, 2, 0, -1, 0.5}, 3.0));
    EXPECT_TRUE(Near(ToNaive(s), ToNaive(expected)));
    EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) {
        return NoneOf({v.QuadraticOuterProductPartIncr(m, 3, 1.0), v.QuadraticOuterProductPartIncr(m, 1, 3, 1.0),
                       v.IncrementRowPart(m, 7, 0, 1.0)});
    }));
    ASSERT_TRUE(v.QuadraticOuterProductPartIncr(s, 1, 2, 3.0)); // the elements 3 and 4 alone, and back again
    EXPECT_DOUBLE_EQ(s.GetElem(4, 3), expected.GetElem(4, 3) - 1.5);
    ASSERT_TRUE(v.QuadraticOuterProductPartIncr(s, 1, 2, -3.0));
    ASSERT_TRUE(v.IncrementRowPart(s, 3, 1, 2.0));
    EXPECT_DOUBLE_EQ(s.GetElem(3, 5), expected.GetElem(3, 5) + 1.0);
    EXPECT_DOUBLE_EQ(s.GetElem(3, 2), expected.GetElem(3, 2) + 4.0);

    const std::vector<int> farIndices{0, 6};
    const std::vector<double> farValues{1, 2};
    const MCSparseVector farVector(farIndices, farValues);
    EXPECT_NEAR(s.ComputeSpVSSpW(v, farVector), s.ComputeVSW({0, 2, 0, -1, 0.5, 0, 0}, {1, 0, 0, 0, 0, 0, 2}), 1e-15);
    EXPECT_EQ(RandomSym(random, 6).ComputeSpVSSpW(v, farVector), kMissing);
}

TEST(MCSparseVector, ProbabilitiesOfALogitModelDoNotOverflow)
{
    const std::vector<int> indices{0, 2};
    const std::vector<double> values{1, 2};
    const MCSparseVector v(indices, values);
    std::vector<double> probs;
    double logSum = 0.0;
    ASSERT_TRUE(v.ComputeProbabilities({std::log(2.0), 9, 0, 0, 9, std::log(3.0) / 2}, 3, 3, probs, logSum));
    EXPECT_TRUE(Near(ToNaive(probs), ToNaive(std::vector<double>{2.0 / 6, 3.0 / 6, 1.0 / 6}), 1e-15));
    EXPECT_NEAR(logSum, std::log(6.0), 1e-15);
    ASSERT_TRUE(v.ComputeProbabilities({1000, 0, 0}, 2, 3, probs, logSum));
    EXPECT_EQ(probs, (std::vector<double>{1, 0}));
    EXPECT_EQ(logSum, 1000.0);
    EXPECT_TRUE(NoneOf({v.ComputeProbabilities({1, 2}, 2, 3, probs, logSum),
                        v.ComputeProbabilities({1, 2, 3}, 2, 2, probs, logSum),
                        v.ComputeProbabilities({}, 0, 3, probs, logSum)}));
    EXPECT_TRUE(Shown(v).starts_with("MCSparseVector display start\nNumber of elements: 2\n"));
}
