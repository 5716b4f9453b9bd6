#include "modelcore/kernels/RotationQueue.h"
#include "modelcore/linalg/Blas1.h"
#include "support/AllKernels.h"
#include "support/Testing.h"

using namespace MCMath_930::internal;

// The plain loops are written out here, in a source compiled without any special instruction set: they are the
// definition that each compiled version must equal bit for bit. Loops along one or two vectors: Blas1Test.cpp.
TEST(Kernels, OuterProductsAddTheirTermsInOrder)
{
    TestRandom random(8);
    // One pass is at most 1024 wide and 256 deep; of 256 terms only 256 wide.
    for (const std::size_t order : {0u, 1u, 2u, 5u, 19u, 33u, 67u, 300u, 1033u})
        for (const std::size_t count : {0u, 1u, 7u, 8u, 9u, 27u, 100u, 300u}) {
            if (order > 100 && count != (order == 300 ? 300u : 27u)) continue;
            const std::vector<double> left = random.Vector(order * count, -2.0, 2.0);
            const std::vector<double> right = random.Vector(order * count, -2.0, 2.0);
            const std::vector<double> start = random.Vector(order * (order + 1) / 2, -1e3, 1e-3);
            std::vector<double> expected = start;
            for (std::size_t i = 0, at = 0; i < order; ++i)
                for (std::size_t j = 0; j <= i; ++j, ++at)
                    for (std::size_t k = 0; k < count; ++k) {
                        volatile double product = left[k * order + i] * right[k * order + j];
                        expected[at] += product;
                    }
            ForEachKernelSet([&] {
                std::vector<double> packed = start;
                AddOuterProducts(packed.data(), order, left.data(), right.data(), count);
                EXPECT_TRUE(SameBits(packed, expected)) << "order " << order << ", count " << count;
            });
        }
}

// Also with the left operand by columns, in a part of a wider matrix, and not beyond that part.
TEST(Kernels, SmallProductsAddTheirTermsInOrder)
{
    TestRandom random(10);
    for (const std::size_t rows : {1u, 2u, 5u, 6u, 7u, 13u})
        for (const std::size_t depth : {0u, 1u, 3u, 65u})
            for (const std::size_t cols : {1u, 3u, 4u, 5u, 8u, 9u, 16u, 21u, 24u, 27u, 43u})
                for (const bool fresh : {false, true}) {
                    const std::size_t lineStep = fresh ? 1 : depth + 2;
                    const std::size_t termStep = fresh ? rows : 1;
                    const std::size_t step = cols + depth % 2;
                    const std::vector<double> left = random.Vector(rows * (depth + 2), -2.0, 2.0);
                    const std::vector<double> right = random.Vector(depth * step, -2.0, 2.0);
                    const std::vector<double> start = random.Vector(rows * step + 1, -1e3, 1e-3);
                    std::vector<double> expected = start;
                    for (std::size_t i = 0; i < rows; ++i)
                        for (std::size_t j = 0; j < cols; ++j) {
                            if (fresh) expected[i * step + j] = 0.0;
                            for (std::size_t k = 0; k < depth; ++k) {
                                volatile double product = left[i * lineStep + k * termStep] * right[k * step + j];
                                expected[i * step + j] += product;
                            }
                        }
                    ForEachKernelSet([&] {
                        std::vector<double> out = start;
                        AddSmallProduct(out.data(), static_cast<std::ptrdiff_t>(step), left.data(),
                                        static_cast<std::ptrdiff_t>(lineStep), static_cast<std::ptrdiff_t>(termStep),
                                        rows, depth, right.data(), static_cast<std::ptrdiff_t>(step), cols, fresh);
                        EXPECT_TRUE(SameBits(out, expected)) << rows << " x " << depth << " x " << cols;
                    });
                }
}

TEST(Kernels, SmallTrianglesAreThoseOfTheProduct)
{
    TestRandom random(13);
    for (const std::size_t order : {0u, 1u, 2u, 3u, 7u, 8u, 9u, 12u, 13u, 31u, 128u}) {
        constexpr std::size_t kDepth = 5;
        const auto n = static_cast<std::ptrdiff_t>(order);
        const std::vector<double> left = random.Vector(order * kDepth, -2.0, 2.0);
        const std::vector<double> right = random.Vector(order * kDepth, -2.0, 2.0);
        std::vector<double> expected(order * (order + 1) / 2 + 1, 0.0); // and what stands behind the triangle stays
        for (std::size_t i = 0, at = 0; i < order; ++i)
            for (std::size_t j = 0; j <= i; ++j, ++at)
                for (std::size_t k = 0; k < kDepth; ++k) {
                    volatile double product = left[k * order + i] * right[k * order + j];
                    expected[at] += product;
                }
        ForEachKernelSet([&] {
            std::vector<double> packed(expected.size(), 0.0);
            StoreSmallTriangle(packed.data(), order, left.data(), 1, n, kDepth, right.data(), n);
            EXPECT_TRUE(SameBits(packed, expected)) << order;
        });
    }
}

TEST(Kernels, TrianglesAreSpelledOut)
{
    TestRandom random(14);
    for (std::size_t order = 0; order < 22; ++order) {
        const std::vector<double> packed = random.Vector(order * (order + 1) / 2, -1.0, 1.0);
        std::vector<double> expected(order * order + 1, 3.0);
        for (std::size_t i = 0, at = 0; i < order; ++i)
            for (std::size_t j = 0; j <= i; ++j, ++at) expected[i * order + j] = expected[j * order + i] = packed[at];
        ForEachKernelSet([&] {
            std::vector<double> square(expected.size(), 3.0);
            SpreadTriangle(square.data(), packed.data(), order);
            EXPECT_TRUE(SameBits(square, expected)) << order;
        });
    }
}

// In order, leaving out factors of zero: the loops of LinpackBits do not reach this one.
TEST(Kernels, AddColumnsEqualsDaxpyByColumns)
{
    TestRandom random(9);
    for (const std::size_t columns : {0u, 1u, 3u, 4u, 9u, 18u}) {
        const std::vector<double> c = random.Vector(columns * 40, -1.0, 1.0);
        std::vector<double> factors = random.Vector(columns, -1.0, 1.0);
        if (columns > 5) factors[5] = 0.0;
        std::vector<double> expected(37, -0.0);
        for (std::size_t j = 0; j < columns; ++j)
            MCMath_930::Blas1::Daxpy(37, factors[j], c.data() + 40 * j, 1, expected.data(), 1);
        ForEachKernelSet([&] {
            std::vector<double> y(37, -0.0);
            AddColumns(y.data(), c.data(), 40, columns, factors.data(), 37);
            EXPECT_TRUE(SameBits(y, expected)) << columns;
        });
    }
}

// Rotations, signs and exchanges that wait against the same done at once; more sweeps than wait together.
TEST(RotationQueue, EqualsRotationsDoneAtOnce)
{
    using MCMath_930::Blas1;
    constexpr int kRows = 37;
    constexpr int kColumns = 25;
    TestRandom random(12);
    const std::vector<double> start = random.Vector(kRows * kColumns, -1.0, 1.0);
    ForEachKernelSet([&] {
        std::vector<double> x = start, y = start;
        const auto column = [&y](int k) { return y.data() + k * kRows; };
        RotationQueue queue({x.data(), kRows}, kRows, kColumns);
        for (int last = kColumns - 1; last > 0; --last) {
            for (int sweep = 0; sweep < 5; ++sweep) {
                const int first = random.Below(last);
                queue.StartSweep(first);
                for (int k = first; k < last; ++k) {
                    const double c = random.Uniform(-1.0, 1.0);
                    queue.Rotate(c, 0.5);
                    Blas1::DRot(kRows, column(k), 1, column(k + 1), 1, c, 0.5);
                }
            }
            if (last % 4 == 1) {
                queue.RotateNow(0, last, 0.6, 0.8);
                Blas1::DRot(kRows, column(0), 1, column(last), 1, 0.6, 0.8);
            }
            if (last % 3 == 0) {
                queue.Negate(last);
                Blas1::DScal(kRows, -1.0, column(last), 1);
            }
            for (int k = last; k + 1 < kColumns && random.Below(3) != 0; ++k) {
                queue.Exchange(k, k + 1);
                Blas1::DSwap(kRows, column(k), 1, column(k + 1), 1);
            }
        }
        queue.Finish();
        EXPECT_TRUE(SameBits(x, y));
    });
}

TEST(Kernels, OverrideIsSeenAndTakenBack)
{
    const KernelTable* const plain = UsableKernelTables().front();
    OverrideKernels(plain);
    EXPECT_EQ(&Kernels(), plain);
    OverrideKernels(nullptr);
    EXPECT_EQ(&Kernels(), UsableKernelTables().back());
}
