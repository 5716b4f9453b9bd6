// Compares the 15-digit text of doubles with printf's on many more values than a test can: random bit patterns, and for
// each power of ten the doubles nearest to the middle between two numbers of 15 digits. Exits with 1 on a difference.
//
// Usage: prove-number-text [random values, 1e8] [values a decade, 1e5] [seed, 1]
#include "modelcore/xml/NumberFormat.h"

#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::uint64_t state = 0;

std::uint64_t Word()
{
    // splitmix64
    state += 0x9E3779B97F4A7C15u;
    std::uint64_t z = state;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
    z = (z ^ z >> 27) * 0x94D049BB133111EBu;
    return z ^ z >> 31;
}

void Compare(double v)
{
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.15g", v);
    const std::string text = MCXML_930::ReplaceSep(v);
    if (text == expected) return;
    std::printf("different: %a is %s, not %s\n", v, expected, text.c_str());
    std::exit(1);
}

} // namespace

int main(int argc, char** argv)
{
    const auto count = [&](int at, double usual) {
        return static_cast<std::uint64_t>(argc > at ? std::strtod(argv[at], nullptr) : usual);
    };
    const std::uint64_t random = count(1, 1e8), perDecade = count(2, 1e5);
    state = count(3, 1);

    for (std::uint64_t i = 0; i < random; ++i) Compare(std::bit_cast<double>(Word()));
    std::printf("%" PRIu64 " random bit patterns: equal\n", random);

    std::uint64_t compared = 0;
    for (int power = -324; power <= 308; ++power)
        for (std::uint64_t i = 0; i < perDecade; ++i) {
            // 15 digits and the half, as text; its double is the tie itself or as near to it as doubles are.
            char text[64];
            const std::uint64_t digits = 100'000'000'000'000 + Word() % 900'000'000'000'000;
            std::snprintf(text, sizeof text, "%" PRIu64 "5e%d", digits, power - 15);
            const double tie = std::strtod(text, nullptr);
            for (const double v : {std::nextafter(tie, 0.0), tie, std::nextafter(tie, HUGE_VAL)}) Compare(v);
            compared += 3;
        }
    std::printf("%" PRIu64 " doubles around ties in every decade: equal\n", compared);
    return 0;
}
