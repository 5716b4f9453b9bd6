#include "support/AllKernels.h"
#include "support/Bits.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace MCMath_930::internal;

// The plain loops are written out here, in a source compiled without any special instruction set: they are the
// definition that each compiled version must equal bit for bit.
TEST(Kernels, EveryVersionEqualsThePlainLoopBitForBit)
{
    TestRandom random(7);
    for (std::size_t count = 0; count <= 67; ++count) {
        std::vector<double> x = random.Vector(count, -2.0, 2.0);
        const std::vector<double> start = random.Vector(count, -1e3, 1e-3);
        if (count > 3) {
            x[1] = -0.0;
            x[2] = std::numeric_limits<double>::infinity();
            x[3] = std::numeric_limits<double>::denorm_min();
        }
        const double c = random.Uniform(-1.0, 1.0) / 3.0;
        std::vector<double> expected = start;
        for (std::size_t j = 0; j < count; ++j) {
            volatile double product = c * x[j]; // keeps even a contracting compiler from fusing
            expected[j] += product;
        }
        ForEachKernelSet([&] {
            std::vector<double> y = start;
            AddScaled(y.data(), c, x.data(), count);
            EXPECT_TRUE(SameBits(y, expected)) << "count " << count;
        });
    }
}

TEST(Kernels, OuterProductsAddTheirTermsInOrder)
{
    TestRandom random(8);
    for (const std::size_t order : {0u, 1u, 2u, 5u, 19u})
        for (const std::size_t count : {0u, 1u, 7u, 8u, 9u, 27u}) {
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

TEST(Kernels, OverrideIsSeenAndTakenBack)
{
    const KernelTable* const plain = UsableKernelTables().front();
    OverrideKernels(plain);
    EXPECT_EQ(&Kernels(), plain);
    OverrideKernels(nullptr);
    EXPECT_EQ(&Kernels(), UsableKernelTables().back());
}
