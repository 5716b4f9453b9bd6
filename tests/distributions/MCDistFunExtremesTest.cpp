#include "distributions/ExactTable.h"
#include "modelcore/common/MCMV.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

using MCCommon_930::MCMV;

// Every function on every combination of awkward arguments: it must come back, soon, and a distribution function must
// be missing, NaN for a NaN point, or a probability.
TEST(MCDistFunExtremes, EveryCombinationOfAwkwardArgumentsComesBack)
{
    constexpr double kMax = std::numeric_limits<double>::max();
    const std::vector<double> all{0.0,         std::numeric_limits<double>::denorm_min(),
                                  1e-300,      1e-20,
                                  0.01,        0.5,
                                  1.0 - 1e-16, 1.0,
                                  37.3,        1e6,
                                  1e17,        1e150,
                                  kMax,        HUGE_VAL,
                                  -1.0,        -1e9,
                                  -kMax,       static_cast<double>(NAN)};
    const std::vector<double> few{0.0, 1e-300, 0.5, 1.0, 37.3, 1e6, kMax, -1.0, static_cast<double>(NAN)};
    for (const auto& [name, exact] : ExactCalls()) {
        const std::size_t count = exact.count;
        const bool isCdf = name.starts_with("Cdf") || name.starts_with("Sig") || name.starts_with("CDF") ||
                           name.starts_with("NonCentralCdf");
        const std::vector<double>& awkward = count > 3 ? few : all;
        std::size_t calls = 1;
        for (std::size_t i = 0; i < count; ++i) calls *= awkward.size();
        std::vector<double> args(count);
        for (std::size_t index = 0; index<calls; index += count> 3 ? 3 : 1) {
            std::size_t rest = index;
            for (double& arg : args) {
                arg = awkward[rest % awkward.size()];
                rest /= awkward.size();
            }
            const auto start = std::chrono::steady_clock::now();
            const double value = exact.call(args);
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            ASSERT_LT(taken.count(), 2.0) << name << ' ' << ::testing::PrintToString(args);
            if (isCdf) {
                const bool allowed = MCMV::IsMissing(value) || (value >= 0.0 && value <= 1.0) ||
                                     (std::isnan(value) && std::isnan(args[0]));
                if (allowed) continue;
                ADD_FAILURE() << name << ' ' << ::testing::PrintToString(args) << " = " << value;
                break; // one of a kind says enough
            }
        }
    }
}
