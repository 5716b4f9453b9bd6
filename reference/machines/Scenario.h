// A fixed piece of work in every folder of the library and a hash of all that comes out: what must be the same on every
// processor, with every compiler and all its flags.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// What came out of a part of the scenario.
struct ScenarioHash {
    std::string name; ///< of the folder
    std::uint64_t hash;
    std::vector<double> reals; ///< those of the results, in order; texts are in the hash alone
};

/// Runs everything: one hash for a folder, and at last "all" over those before. Texts count by their bytes, reals by their
/// bits; one NaN is as good as another, since IEEE 754 leaves its sign and payload to the processor.
std::vector<ScenarioHash> RunScenario();

/// Saved states of objects after a fixed amount of data, as MCStateBytes writes them, by name.
std::map<std::string, std::string> SaveStates();

/// Restores each state, perhaps one that another machine has written, saves it again and goes on with it as with the
/// original.
/// @return  what is wrong, a line each; empty when all is well
std::string CheckStates(const std::map<std::string, std::string>& states);
