// Writes the words of a uniform generator to standard output for ever: what scripts/dieharder feeds to dieharder.
// Usage: uniform-words twister|congruential
#include "modelcore/random/MCRNGUCongruential.h"
#include "modelcore/random/MCRandomTwister.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace {

template <class Next>
void WriteWords(Next next)
{
    std::array<std::uint32_t, 16384> words;
    do {
        for (std::uint32_t& word : words) word = next();
    } while (std::fwrite(words.data(), sizeof words[0], words.size(), stdout) == words.size());
}

} // namespace

int main(int argc, char** argv)
{
    const std::string_view name = argc == 2 ? argv[1] : "";
    if (name == "twister") {
        MCMath_930::MCRandomTwister twister;
        twister.Initialize(34567);
        WriteWords([&] { return static_cast<std::uint32_t>(twister.GetInteger32()); });
    } else if (name == "congruential") {
        // It has 31 bits: the upper 16 bits of two numbers make a word.
        MCMath_930::MCRNGUCongruential generator;
        const auto half = [&] { return static_cast<std::uint32_t>(generator.GetNext() * 65536.0); };
        WriteWords([&] {
            const std::uint32_t high = half();
            const std::uint32_t low = half();
            return high << 16 | low;
        });
    } else {
        std::fputs("usage: uniform-words twister|congruential\n", stderr);
        return 2;
    }
    return 0;
}
