// What every benchmark program shares: contenders of one operation run side by side, and one table with the ratios.
//
// A program defines RegisterContenders and nothing else. Before it registers, it checks that the contenders agree: a
// fast wrong result is worth nothing. Contenders are run in turn, several repetitions in random order, and medians of
// the thread's processor time are compared, since the machines are noisy.
#pragma once

#include <functional>
#include <string>

namespace peers {

/// How much one call does, for the rate column: 2e9 with unit "GFLOP" over 1 s prints as 2 GFLOP/s when scale is 1e9.
struct Work {
    double amount = 1.0;
    const char* unit = "call";
    double scale = 1.0;
};

/// A contender that leaves its input as it was: run is one call.
void Add(const std::string& operation, const std::string& contender, const Work& work, std::function<void()> run);

/// A contender that overwrites its input. prepare(slot) restores the input of a slot outside the timed region;
/// run(slot) is one call. Small operations take many slots, so that the clock is read once for all of them.
void Add(const std::string& operation, const std::string& contender, const Work& work, int slots,
         std::function<void(int)> prepare, std::function<void(int)> run);

/// Registers an operation that cannot be timed, with the reason (for example results that disagree). Shows in the
/// table.
void Refuse(const std::string& operation, const std::string& contender, const std::string& reason);

/// Keeps the compiler from dropping a result that nobody reads.
template <class T>
inline void Keep(const T& value)
{
    asm volatile("" : : "r,m"(value) : "memory");
}

} // namespace peers

/// Defined by each benchmark program.
void RegisterContenders();
