// MCTimeUtil.
#include "modelcore/common/MCTimeUtil.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"

#include <charconv>
#include <cmath>
#include <ctime>
#include <string_view>
#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#endif

namespace MCCommon_930 {

namespace {

constexpr long long kMinute = 60;
constexpr long long kHour = 60 * kMinute;
constexpr long long kDay = 24 * kHour;
constexpr double kLongest = 1e9 * static_cast<double>(kDay);

std::string TwoDigits(long long x)
{
    return std::string(x < 10 ? 1 : 0, '0').append(std::to_string(x));
}

std::string Fixed(double x, int decimals)
{
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, x, std::chars_format::fixed, decimals);
    return {text, end.ptr};
}

// 0 <= x, of which three digits are shown, in the unit that keeps them before and after the point.
std::string ThreeDigits(double x, std::string_view unit)
{
    const int decimals = x < 9.995 ? 2 : x < 99.95 ? 1 : 0;
    return Fixed(x, decimals).append(" ").append(unit);
}

} // namespace

void MCTimeUtil::Start()
{
    fProcessorStart = ProcessorTime();
    fStart = std::chrono::steady_clock::now();
}

double MCTimeUtil::GetWallSeconds() const
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - fStart).count();
}

double MCTimeUtil::GetProcessorSeconds() const
{
    const double now = ProcessorTime();
    if (MCMV::IsMissing(now) || MCMV::IsMissing(fProcessorStart)) return MCMV::Missing();
    return now - fProcessorStart;
}

double MCTimeUtil::WallTime()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

#ifdef _WIN32
// The C library's clock() is wall time there.
double MCTimeUtil::ProcessorTime()
{
    FILETIME created, ended, times[2];
    if (GetProcessTimes(GetCurrentProcess(), &created, &ended, &times[0], &times[1]) == 0) return MCMV::Missing();
    double seconds = 0.0; // of the system and of the program, in steps of 100 ns
    for (const FILETIME& time : times) seconds += 1e-7 * (4294967296.0 * time.dwHighDateTime + time.dwLowDateTime);
    return seconds;
}
#else
double MCTimeUtil::ProcessorTime()
{
    const std::clock_t ticks = std::clock();
    if (ticks == static_cast<std::clock_t>(-1)) return MCMV::Missing();
    return static_cast<double>(ticks) / static_cast<double>(CLOCKS_PER_SEC);
}
#endif

std::string MCTimeUtil::FormatDuration(double seconds)
{
    if (!(std::fabs(seconds) <= kLongest)) return "unknown"; // a NaN and the missing value too
    if (std::signbit(seconds)) {
        const std::string text = FormatDuration(-seconds);
        return text == "0.00 us" ? text : '-' + text;
    }
    // Each limit is where rounding would reach the next unit: 59.96 s is a minute, not "60.0 s".
    if (seconds < 0.9995e-3) return ThreeDigits(seconds * 1e6, "us");
    if (seconds < 0.9995) return ThreeDigits(seconds * 1e3, "ms");
    if (seconds < 59.95) return ThreeDigits(seconds, "s");
    const long long whole = std::llround(seconds);
    const std::string minutes = TwoDigits(whole % kHour / kMinute);
    if (whole < kHour) return std::to_string(whole / kMinute) + " min " + TwoDigits(whole % kMinute) + " s";
    if (whole < kDay)
        return std::to_string(whole / kHour) + " h " + minutes + " min " + TwoDigits(whole % kMinute) + " s";
    return std::to_string(whole / kDay) + " d " + TwoDigits(whole % kDay / kHour) + " h " + minutes + " min";
}

void MCTimeUtil::Display() const
{
    MCDisplay_930::DisplayStart("MCTimeUtil");
    MCDisplay_930::Display("Wall time in sec", GetWallSeconds());
    MCDisplay_930::Display("Processor time in sec", GetProcessorSeconds());
    MCDisplay_930::DisplayEnd("MCTimeUtil");
}

} // namespace MCCommon_930
