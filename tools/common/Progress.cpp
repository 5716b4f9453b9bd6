#include "common/Progress.h"

#include "common/System.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <string>

namespace procedure {

namespace {

std::atomic<int> gSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may touch nothing else");

extern "C" void NoteSignal(int number)
{
    gSignal = number;
}

} // namespace

InterruptQuery::InterruptQuery()
{
    gSignal = 0;
    System::HandleEndSignals(NoteSignal);
}

InterruptQuery::~InterruptQuery()
{
    System::HandleEndSignals(nullptr);
}

bool InterruptQuery::CheckCancel()
{
    return gSignal != 0;
}

bool InterruptQuery::PeekCancel()
{
    return gSignal != 0;
}

int InterruptQuery::Signal()
{
    return gSignal;
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
