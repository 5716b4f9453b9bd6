// What the user sees while the program works, and how the user stops it.
#pragma once

#include "modelcore/modelcore.h"

#include <chrono>
#include <cstdint>

namespace procedure {

/// Ctrl-C as the library asks for it: while an object of this class lives, SIGINT, SIGTERM and SIGHUP set a flag instead
/// of ending the process, unless they were ignored before. A call that waits is interrupted by them.
class InterruptQuery : public MCCommon_930::MCQueryCancel {
public:
    InterruptQuery();
    ~InterruptQuery() override;

    bool CheckCancel() override;
    bool PeekCancel() override;

    /// The last of these signals that came, 0 for none.
    static int Signal();
};

/// A line on standard error that is rewritten in place: a bar with percent, rows per second and time left while a file
/// is read, the rows alone for a pipe. Silent unless it is enabled.
class Progress {
public:
    explicit Progress(bool enabled) : fEnabled(enabled), fStart(Clock::now()) {}
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows the state, at most ten times a second. fraction is the share of all reading that is done, negative when
    /// nobody knows.
    void Show(double fraction, std::int64_t rows);

    /// Removes the line.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    bool fEnabled;
    bool fShown = false;
    Clock::time_point fStart;
    Clock::time_point fNext{};
};

} // namespace procedure
