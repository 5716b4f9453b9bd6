// How this program ends early.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace procedure {

inline constexpr int kExitDoubtful = 1; ///< results were given, and warnings say what they lack
inline constexpr int kExitBadInput = 2;
inline constexpr int kExitInterrupted = 128; ///< and the number of the signal

/// Input that cannot be used or output that cannot be written: one line for the user.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& line) : std::runtime_error(line) {}
};

/// The user asked to stop.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted: nothing was written") {}
};

/// Thrown at the end of a run that gave results which do not stand: an iteration that did not converge, for instance.
struct Doubtful {};

/// "data.csv, line 12": lines are counted from 1 as an editor counts them, the header's included.
inline std::string AtLine(const std::string& file, std::int64_t line)
{
    return file + ", line " + std::to_string(line);
}

} // namespace procedure
