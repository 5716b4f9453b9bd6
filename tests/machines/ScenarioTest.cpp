// The scenario gives the same bits here as everywhere, with every kernel set.
#include "reference/machines/Scenario.h"

#include "modelcore/matrix/MCExtended.h"
#include "reference/machines/Digest.h"
#include "support/AllKernels.h"
#include "tests/machines/UsersFlags.h"

#include <gtest/gtest.h>

#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>

namespace {

std::string Line(const ScenarioHash& part)
{
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016" PRIx64, part.hash);
    return std::string(digits) + "  " + part.name;
}

TEST(Scenario, HasTheHashesOfEveryMachine)
{
    std::string expected;
    std::ifstream in(MODELCORE_TEST_DATA "/reproducibility-hash.txt");
    for (std::string line; std::getline(in, line);)
        if (!line.starts_with('#')) expected += line + "\n";
    ForEachKernelSet([&] {
        std::string found;
        for (const ScenarioHash& part : RunScenario()) found += Line(part) + "\n";
        EXPECT_EQ(found, expected);
    });
}

TEST(Scenario, SavedStatesGoOnAsTheOriginals)
{
    std::map<std::string, std::string> states = SaveStates();
    EXPECT_EQ(CheckStates(states), "");
    states["MCExactXProducts"] = states["MCMeansXProducts"];
    EXPECT_NE(CheckStates(states), "");
}

TEST(PublicHeaders, ArithmeticKeepsItsBitsUnderAUsersFlags)
{
#if defined(__x86_64__) && defined(__GNUC__)
    if (!__builtin_cpu_supports("fma")) GTEST_SKIP() << "the processor fuses nothing";
#endif
    using namespace MCMath_930;
    Numbers numbers(33);
    for (int i = 0; i < 2000; ++i) {
        const double aHigh = numbers.Unit() + 0.5, aLow = numbers.Signed() * 0x1p-54;
        const double bHigh = numbers.Unit() + 0.5, bLow = numbers.Signed() * 0x1p-54;
        const MCExtended a{aHigh, aLow}, b{bHigh, bLow};
        const MCExtended product = a * b, scaled = a * b.high, quotient = a / b, root = Sqrt(a);
        const std::array here{product.high,  product.low,  scaled.high, scaled.low,
                              quotient.high, quotient.low, root.high,   root.low};
        ASSERT_EQ(ExtendedWithUsersFlags(aHigh, aLow, bHigh, bLow), here) << i;
    }
}

// Some C libraries have an fma that rounds twice. In whole numbers the rest is known.
TEST(ExactProduct, HasTheWholeRest)
{
    using MCMath_930::ExactProduct;
    Numbers numbers(34);
    for (int i = 0; i < 5000; ++i) {
        const std::uint64_t a = numbers.Bits() >> 11, b = numbers.Bits() >> 11;
        const auto [high, low] = ExactProduct(static_cast<double>(a), static_cast<double>(b));
        // high + low = a * b modulo 2^64, and low is the smaller part: nothing else has both.
        const auto modulo = [](double x) { // a whole number below 2^106
            const double upper = std::floor(std::ldexp(x, -53));
            return (static_cast<std::uint64_t>(upper) << 53) + static_cast<std::uint64_t>(x - std::ldexp(upper, 53));
        };
        const std::uint64_t rest = low < 0.0 ? 0 - modulo(-low) : modulo(low);
        ASSERT_EQ(modulo(high) + rest, a * b);
        ASSERT_EQ(high + low, high);
    }
    const auto [high, low] = ExactProduct(0x1.fffffffffffffp1000, -0x1.fffffffffffffp-900);
    EXPECT_EQ(high, -0x1.ffffffffffffep101);
    EXPECT_EQ(low, -0x1p-4);
}

} // namespace
