// Whether the time of a run grows as its size does. Only the ratio of two times counts, so slow machines pass too.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>

/// Demands that run(4 * size) takes at most 10 times as long as run(size): linear growth gives 4, quadratic 16. The best
/// of up to twenty times counts on either side, so that other work on the machine does not.
template <class Run>
void ExpectLinearTime(int size, Run run)
{
    double best[2] = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    for (int attempt = 0; attempt < 20; ++attempt) {
        for (const int i : {0, 1}) {
            const auto start = std::chrono::steady_clock::now();
            run(i == 0 ? size : 4 * size);
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            best[i] = std::min(best[i], taken.count());
        }
        if (attempt > 0 && best[1] <= 10.0 * best[0]) return;
    }
    ADD_FAILURE() << size << " take " << best[0] << " s, " << 4 * size << " take " << best[1] << " s";
}
