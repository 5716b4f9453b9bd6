#include "support/Peak.h"

#include <algorithm>
#include <ctime>

namespace peers {

namespace {

double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Twelve sums are more than any core needs to hide how long one operation takes, and leave registers for the factors.
constexpr int kSums = 12;
constexpr int kSteps = 20000;
#define MODELCORE_EACH_SUM(Do) Do(s0) Do(s1) Do(s2) Do(s3) Do(s4) Do(s5) Do(s6) Do(s7) Do(s8) Do(s9) Do(s10) Do(s11)

/// One run: kSteps times one product added to each of kSums sums.
#define MODELCORE_PEAK_RUN(Name, Target, kBytes, Step)                                                                 \
    Target double Name()                                                                                               \
    {                                                                                                                  \
        typedef double Vector __attribute__((vector_size(kBytes)));                                                    \
        Vector x{}, y{};                                                                                               \
        x += 1.0 + 1e-9;                                                                                               \
        y += 1e-9;                                                                                                     \
        Vector s0 = y, s1 = y, s2 = y, s3 = y, s4 = y, s5 = y, s6 = y, s7 = y, s8 = y, s9 = y, s10 = y, s11 = y;       \
        for (int step = 0; step < kSteps; ++step) {                                                                    \
            MODELCORE_EACH_SUM(Step)                                                                                   \
        }                                                                                                              \
        const Vector all = s0 + s1 + s2 + s3 + s4 + s5 + s6 + s7 + s8 + s9 + s10 + s11;                                \
        return all[0];                                                                                                 \
    }

// The barriers are no instructions. The first keeps the compiler from multiplying once for all steps, the second from
// fusing where its options would let it. What is fused is the instruction itself, whatever the options say.
#if defined(__x86_64__)
#define MODELCORE_REGISTER "v"
#define MODELCORE_FUSED(sum) asm volatile("vfmadd231pd %1, %2, %0" : "+v"(sum) : "v"(x), "v"(y));
#elif defined(__aarch64__)
#define MODELCORE_REGISTER "w"
#define MODELCORE_FUSED(sum) asm volatile("fmla %0.2d, %1.2d, %2.2d" : "+w"(sum) : "w"(x), "w"(y));
#endif
#define MODELCORE_UNFUSED(sum)                                                                                         \
    {                                                                                                                  \
        asm volatile("" : "+" MODELCORE_REGISTER(x));                                                                  \
        Vector product = x * y;                                                                                        \
        asm volatile("" : "+" MODELCORE_REGISTER(product));                                                            \
        sum += product;                                                                                                \
    }
#if defined(__x86_64__)
MODELCORE_PEAK_RUN(Unfused128, , 16, MODELCORE_UNFUSED)
MODELCORE_PEAK_RUN(Unfused256, __attribute__((target("avx2"))), 32, MODELCORE_UNFUSED)
MODELCORE_PEAK_RUN(Unfused512, __attribute__((target("avx512f"))), 64, MODELCORE_UNFUSED)
MODELCORE_PEAK_RUN(Fused128, __attribute__((target("avx2,fma"))), 16, MODELCORE_FUSED)
MODELCORE_PEAK_RUN(Fused256, __attribute__((target("avx2,fma"))), 32, MODELCORE_FUSED)
MODELCORE_PEAK_RUN(Fused512, __attribute__((target("avx512f"))), 64, MODELCORE_FUSED)
#elif defined(__aarch64__)
MODELCORE_PEAK_RUN(Unfused128, , 16, MODELCORE_UNFUSED)
MODELCORE_PEAK_RUN(Fused128, , 16, MODELCORE_FUSED)
#endif

volatile double sink;

double Measure(double (*run)(), int bits)
{
    double best = 1.0;
    for (int i = 0; i < 20; ++i) {
        const double start = ThreadSeconds();
        sink = run();
        best = std::min(best, ThreadSeconds() - start);
    }
    return 2.0 * kSums * kSteps * (bits / 64) / best * 1e-9;
}

} // namespace

const std::vector<Peak>& MeasurePeaks()
{
    static const std::vector<Peak> peaks = [] {
        std::vector<Peak> found;
        const auto add = [&](int bits, double (*unfused)(), double (*fused)()) {
            found.push_back({bits, Measure(unfused, bits), fused == nullptr ? 0.0 : Measure(fused, bits)});
        };
#if defined(__x86_64__)
        const bool fma = __builtin_cpu_supports("fma") != 0;
        add(128, Unfused128, fma ? Fused128 : nullptr);
        if (fma && __builtin_cpu_supports("avx2")) add(256, Unfused256, Fused256);
        if (__builtin_cpu_supports("avx512f")) add(512, Unfused512, Fused512);
#elif defined(__aarch64__)
        add(128, Unfused128, Fused128);
#endif
        return found;
    }();
    return peaks;
}

double UnfusedPeak()
{
    double highest = 0.0;
    for (const Peak& peak : MeasurePeaks()) highest = std::max(highest, peak.unfused);
    return highest;
}

} // namespace peers
