// MCDistFun: functions of arrays.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/ArrayLoops.h"
#include "modelcore/distributions/internal/BetaSums.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/GammaSums.h"
#include "modelcore/distributions/internal/IncompleteBeta.h"
#include "modelcore/distributions/internal/Normal.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace MCMath_930 {

using MCCommon_930::MCMV;

namespace internal {

namespace baseline {
extern const ArrayLoops kArrayLoops;
}
#ifdef MODELCORE_KERNELS_V3
namespace v3 {
extern const ArrayLoops kArrayLoops;
}
#endif
#ifdef MODELCORE_KERNELS_V4
namespace v4 {
extern const ArrayLoops kArrayLoops;
}
#endif

const ArrayLoops& Loops()
{
#ifdef _WIN32
    return baseline::kArrayLoops; // g++ there does not align the wide vectors that it puts on the stack (bug 54412)
#endif
    switch (Kernels().level) {
#ifdef MODELCORE_KERNELS_V4
    case Level::v4: return v4::kArrayLoops;
#endif
#ifdef MODELCORE_KERNELS_V3
    case Level::v3: return v3::kArrayLoops;
#endif
    default: return baseline::kArrayLoops;
    }
}

} // namespace internal

using internal::BetaTask;
using internal::Loops;

namespace {

constexpr std::size_t kBlock = 512;

/// Elements of a block that take the same way, side by side, and where they came from.
class Group {
public:
    /// With isMember 0 or 1, and no branch: what is no member is written over by the next.
    void Add(double x, std::size_t from, int isMember)
    {
        fValues[fCount] = x;
        fPlaces[fCount] = static_cast<std::uint16_t>(from);
        fCount += static_cast<std::size_t>(isMember);
    }

    /// Runs loop(values, count) and puts each result where its value came from; where it is NaN, scalar(value there).
    template <class Loop, class Scalar>
    void Run(double* out, const double* in, Loop loop, Scalar scalar)
    {
        if (fCount == 0) return;
        for (std::size_t k = 0; k < internal::kMostLanes; ++k) fValues[fCount + k] = fValues[0];
        loop(fValues, (fCount + internal::kMostLanes - 1) / internal::kMostLanes * internal::kMostLanes);
        for (std::size_t i = 0; i < fCount; ++i) {
            const std::size_t place = fPlaces[i];
            out[place] = fValues[i] == fValues[i] ? fValues[i] : scalar(in[place]);
        }
        fCount = 0;
    }

    /// Those that no loop serves.
    template <class Scalar>
    void Run(double* out, const double* in, Scalar scalar)
    {
        for (std::size_t i = 0; i < fCount; ++i) out[fPlaces[i]] = scalar(in[fPlaces[i]]);
        fCount = 0;
    }

private:
    double fValues[kBlock + internal::kMostLanes];
    std::uint16_t fPlaces[kBlock + 1];
    std::size_t fCount = 0;
};

/// Runs step(out, in, size) on blocks of at most kBlock elements.
template <class Step>
void ForEachBlock(double* out, const double* in, std::size_t count, Step step)
{
    for (std::size_t done = 0; done < count; done += kBlock)
        step(out + done, in + done, std::min(count - done, kBlock));
}

int AsInt(bool condition)
{
    return condition ? 1 : 0;
}

/// Tails of the gamma distribution at half of x.
template <class Scalar>
void HalvedGammaTails(const double* x, double* p, std::size_t n, double a, bool lowerTail, Scalar scalar)
{
    constexpr double kLeast = 1e-100;
    constexpr double kMost = 1e70;
    constexpr double kMostShape = 1e6;
    if (!(a >= kLeast && a <= kMostShape)) {
        std::transform(x, x + n, p, scalar);
        return;
    }
    const internal::GammaShape shape = internal::GammaShape::Of(a);
    const double turn = std::max(a, 1.0);
    Group near, far, others;
    const internal::ArrayLoops& loops = Loops();
    ForEachBlock(p, x, n, [&](double* out, const double* in, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            const double point = 0.5 * in[i];
            const int served = AsInt(point > kLeast) & AsInt(point < kMost);
            const int isNear = AsInt(point <= turn);
            near.Add(point, i, served & isNear);
            far.Add(point, i, served & (1 - isNear));
            others.Add(point, i, 1 - served);
        }
        const auto run = [&](Group& group, auto loop) {
            group.Run(
                out, in, [&](double* values, std::size_t count) { loop(values, count, shape, lowerTail); }, scalar);
        };
        if (a == 1.0) {
            const auto loop = [&](double* values, std::size_t count, auto&, bool lower) {
                loops.exponential(values, count, lower);
            };
            run(near, loop);
            run(far, loop);
        } else {
            run(near, a < 1.0 ? loops.gammaOfSmallShape : loops.gammaBySeries);
            run(far, loops.gammaByFraction);
        }
        others.Run(out, in, scalar);
    });
}

/// Where the points of a block go: the series or the fraction, each for the tail at 0 or at 1. The choice is made on a
/// coordinate of a double's digits, so that what lies too near a border is left to the function of a number.
class BetaGroups {
public:
    BetaGroups(const BetaTask& task, double a, double b) : fTask(task), fShapes{a, b}
    {
        fShapes.Weight();
        if (a <= 1.0) fShapes.SeriesScale(false);
        if (b <= 1.0) fShapes.SeriesScale(true);
        if (fShapes.Spread2() >= internal::kLeastExpansionSpread) fShapes.PrepareExpansion();
    }

    /// A point x : y of the unit interval, x + y = 1, a finite number in task's own terms being `value`.
    void Add(double value, double x, double y, std::size_t from, int isServed)
    {
        const double a = fShapes.a;
        const double b = fShapes.b;
        const int below = AsInt(a * y > b * x);
        const int series = AsInt(a <= 1.0) & AsInt(x <= 0.3) & AsInt(b * x <= 1.5);
        const int oppositeSeries = (1 - series) & AsInt(b <= 1.0) & AsInt(y <= 0.3) & AsInt(a * y <= 1.5);
        const int clear = Clear(a * y, b * x) & (AsInt(a > 1.0) | (Clear(x, 0.3) & Clear(b * x, 1.5))) &
                          (AsInt(b > 1.0) | (Clear(y, 0.3) & Clear(a * y, 1.5)));
        const int served = isServed & clear;
        const int fraction = served & (1 - series) & (1 - oppositeSeries);
        fSeries[0].Add(value, from, served & series);
        fSeries[1].Add(value, from, served & oppositeSeries);
        fFraction[0].Add(value, from, fraction & below);
        fFraction[1].Add(value, from, fraction & (1 - below));
        fOthers.Add(value, from, 1 - served);
    }

    template <class Scalar>
    void Run(double* out, const double* in, Scalar scalar)
    {
        for (const bool opposite : {false, true}) {
            fTask.opposite = opposite;
            const auto with = [&](auto loop) {
                return [this, loop](double* values, std::size_t count) { loop(values, count, fShapes, fTask); };
            };
            fSeries[opposite ? 1 : 0].Run(out, in, with(Loops().betaBySeries), scalar);
            fFraction[opposite ? 1 : 0].Run(out, in, with(Loops().betaByFraction), scalar);
        }
        fOthers.Run(out, in, scalar);
    }

private:
    /// Whether two numbers differ by more than what their rounding could hide.
    static int Clear(double a, double b) { return AsInt(std::fabs(a - b) > 1e-12 * (a + b)); }

    BetaTask fTask;
    internal::BetaShapes fShapes;
    Group fSeries[2], fFraction[2], fOthers;
};

constexpr double kLeastBetaPoint = internal::kLeastStudent;
constexpr double kLeastBetaShape = internal::kLeastStudentDf;
constexpr double kMostBetaShape = internal::kMostStudentDf;

bool IsServedBetaShape(double a)
{
    return a >= kLeastBetaShape && a <= kMostBetaShape;
}

template <class Scalar>
void FisherTails(const double* x, double* p, std::size_t n, double df1, double df2, bool lowerTail, Scalar scalar)
{
    if (!IsServedBetaShape(df1) || !IsServedBetaShape(df2)) {
        std::transform(x, x + n, p, scalar);
        return;
    }
    BetaGroups groups({BetaTask::Kind::fisher, df1, df2, false, lowerTail}, 0.5 * df1, 0.5 * df2);
    ForEachBlock(p, x, n, [&](double* out, const double* in, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            const double part = in[i] * df1;
            const double whole = part + df2;
            groups.Add(in[i], part / whole, df2 / whole, i,
                       AsInt(in[i] > kLeastBetaPoint) & AsInt(in[i] < 1.0 / kLeastBetaPoint));
        }
        groups.Run(out, in, scalar);
    });
}

/// P(T <= sign * t)
template <class Scalar>
void StudentTails(const double* t, double* p, std::size_t n, double df, double sign, Scalar scalar)
{
    if (!IsServedBetaShape(df) || df == 1.0) {
        std::transform(t, t + n, p, scalar);
        return;
    }
    BetaGroups groups({BetaTask::Kind::student, df, 0.0, false, true}, 0.5 * df, 0.5);
    ForEachBlock(p, t, n, [&](double* out, const double* in, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            const double w = std::fabs(in[i]);
            const double part = w * w;
            const double whole = df + part;
            groups.Add(sign * in[i], df / whole, part / whole, i,
                       AsInt(w > kLeastBetaPoint) & AsInt(w < 1.0 / kLeastBetaPoint));
        }
        groups.Run(out, in, scalar);
    });
}

} // namespace

void MCDistFun::CdfNorm(const double* x, double* p, std::size_t n, double mean, double sd)
{
    if (!(sd > 0.0) || std::isnan(mean)) {
        std::fill_n(p, n, MCMV::Missing());
        return;
    }
    Group above, below, others;
    double z[kBlock];
    ForEachBlock(p, x, n, [&](double* out, const double* in, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) z[i] = (in[i] - mean) / sd;
        for (std::size_t i = 0; i < size; ++i) {
            const int isAbove = AsInt(z[i] > 0.0);
            const int isBelow = AsInt(z[i] <= 0.0);
            above.Add(z[i], i, isAbove);
            below.Add(z[i], i, isBelow);
            others.Add(z[i], i, 1 - isAbove - isBelow);
        }
        above.Run(out, z, Loops().normalAbove, prbnrm);
        below.Run(out, z, Loops().normalBelow, prbnrm);
        others.Run(out, z, prbnrm);
    });
}

void MCDistFun::IdfNorm(const double* p, double* x, std::size_t n, double mean, double sd)
{
    if (!(sd > 0.0) || std::isnan(mean)) {
        std::fill_n(x, n, MCMV::Missing());
        return;
    }
    const auto scalar = [=](double at) { return IdfNorm(at, mean, sd); };
    Group centre, tails, others;
    ForEachBlock(x, p, n, [&](double* out, const double* in, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            const int isCentral = AsInt(std::fabs(in[i] - 0.5) <= internal::kCentral);
            const int isInside = AsInt(in[i] > 0.0) & AsInt(in[i] < 1.0);
            centre.Add(in[i], i, isCentral);
            tails.Add(in[i], i, isInside & (1 - isCentral));
            others.Add(in[i], i, 1 - isInside);
        }
        centre.Run(
            out, in, [=](double* at, std::size_t count) { Loops().normalCentre(at, count, mean, sd); }, scalar);
        tails.Run(
            out, in, [=](double* at, std::size_t count) { Loops().normalTails(at, count, mean, sd); }, scalar);
        others.Run(out, in, scalar);
    });
}

void MCDistFun::CdfChi(const double* x, double* p, std::size_t n, double df)
{
    HalvedGammaTails(x, p, n, 0.5 * df, true, [df](double at) { return CdfChi(at, df); });
}

void MCDistFun::SigChi(const double* x, double* p, std::size_t n, double df)
{
    HalvedGammaTails(x, p, n, 0.5 * df, false, [df](double at) { return SigChi(at, df); });
}

void MCDistFun::CdfT(const double* t, double* p, std::size_t n, double df)
{
    StudentTails(t, p, n, df, 1.0, [df](double at) { return CdfT(at, df); });
}

void MCDistFun::SigT(const double* t, double* p, std::size_t n, double df)
{
    StudentTails(t, p, n, df, -1.0, [df](double at) { return SigT(at, df); });
}

void MCDistFun::CdfF(const double* x, double* p, std::size_t n, double df1, double df2)
{
    FisherTails(x, p, n, df1, df2, true, [=](double at) { return CdfF(at, df1, df2); });
}

void MCDistFun::SigF(const double* x, double* p, std::size_t n, double df1, double df2)
{
    FisherTails(x, p, n, df1, df2, false, [=](double at) { return SigF(at, df1, df2); });
}

} // namespace MCMath_930
