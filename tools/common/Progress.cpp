#include "common/Progress.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <string>

namespace procedure {

namespace {

std::atomic<bool> gInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may touch nothing else");

extern "C" void NoteInterrupt(int)
{
    gInterrupted = true;
}

} // namespace

InterruptQuery::InterruptQuery()
{
    gInterrupted = false;
    std::signal(SIGINT, NoteInterrupt);
}

InterruptQuery::~InterruptQuery()
{
    std::signal(SIGINT, SIG_DFL);
}

bool InterruptQuery::CheckCancel()
{
    return gInterrupted;
}

bool InterruptQuery::PeekCancel()
{
    return gInterrupted;
}

void Progress::Show(double fraction, std::int64_t rows)
{
    if (!fEnabled) return;
    const Clock::time_point now = Clock::now();
    if (now < fNext) return;
    fNext = now + std::chrono::milliseconds(100);
    fShown = true;

    const double seconds = std::chrono::duration<double>(now - fStart).count();
    const double rate = seconds > 0.0 ? static_cast<double>(rows) / seconds : 0.0;
    if (fraction < 0.0) {
        std::fprintf(stderr, "\r\033[K%lld rows, %.0f rows/s", static_cast<long long>(rows), rate);
    } else {
        constexpr int kWidth = 30;
        const int full = std::clamp(static_cast<int>(fraction * kWidth), 0, kWidth);
        const std::string bar(static_cast<std::size_t>(full), '#');
        std::fprintf(stderr, "\r\033[K[%-*s] %3.0f%%  %.0f rows/s", kWidth, bar.c_str(), 100.0 * fraction, rate);
        if (fraction > 0.0) std::fprintf(stderr, "  %.0f s left", seconds * (1.0 - fraction) / fraction);
    }
    std::fflush(stderr);
}

void Progress::Clear()
{
    if (fShown) std::fputs("\r\033[K", stderr);
    fShown = false;
}

} // namespace procedure
