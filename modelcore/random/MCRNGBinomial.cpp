// MCRNGBinomial.
#include "modelcore/random/MCRNGBinomial.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/random/internal/BetaVariate.h"
#include "modelcore/random/internal/UniformSource.h"

#include <cmath>

namespace MCMath_930 {

namespace {

struct Parameters {
    double n;
    double p;
};

Parameters Accepted(double n, double p)
{
    const bool valid = n >= 0.0 && std::isfinite(n) && n == std::floor(n) && p >= 0.0 && p <= 1.0;
    return valid ? Parameters{n, p} : Parameters{0.0, 0.0};
}

constexpr double kDirectTrials = 100.0;

// n trials are still open. Their uniforms lie in [lo, lo + width], and those up to p are successes; k counts the
// successes among the others, all of which lie below. share is the part of the interval that p leaves below it.
template <class Uniforms>
double Successes(const Parameters& given, Uniforms& next)
{
    double n = given.n;
    const double p = given.p;
    double k = 0.0;
    double lo = 0.0;
    double width = 1.0;
    double share = p;
    while (n >= kDirectTrials) {
        if (n == 2.0 * std::floor(n / 2.0)) { // even
            if (next() <= share) k += 1.0;
            n -= 1.0;
        }
        const double a = (n + 1.0) / 2.0;
        const double x = internal::BetaVariate(a, a).Draw(next);
        if (MCCommon_930::MCMV::IsMissing(x)) return x;
        const double middle = lo + x * width;
        if (p < middle) {
            width *= x;
        } else {
            lo = middle;
            width *= 1.0 - x;
            k += a;
        }
        share = p < 1.0 ? (p - lo) / width : 1.0; // rounding must not make certain trials uncertain
        n = a - 1.0;
    }
    if (share >= 1.0) return k + n;
    if (!(share > 0.0)) return k;
    return k + next.CountUpTo(share, static_cast<int>(n)); // fewer than kDirectTrials
}

} // namespace

struct MCRNGBinomial::Record {
    internal::UniformSource source;
    Parameters parameters;

    explicit Record(const Parameters& initial) : parameters(initial) {}

    double Draw(const Parameters& given)
    {
        if (given.n <= 0.0 || given.p <= 0.0) return 0.0;
        return source.Draw([&](auto next) { return Successes(given, next); });
    }
};

MCRNGBinomial::MCRNGBinomial() : MCRNGBinomial(0.0, 0.0) {}

MCRNGBinomial::MCRNGBinomial(double n, double p) : fpRecord(std::make_unique<Record>(Accepted(n, p))) {}

MCRNGBinomial::MCRNGBinomial(const MCRNGBinomial&) = default;
MCRNGBinomial& MCRNGBinomial::operator=(const MCRNGBinomial&) = default;
MCRNGBinomial::~MCRNGBinomial() = default;

void MCRNGBinomial::SetSeed(double s)
{
    fpRecord->source.Get().SetSeed(s);
}

double MCRNGBinomial::GetNext()
{
    return fpRecord->Draw(fpRecord->parameters);
}

double MCRNGBinomial::GetNext(double n, double p)
{
    return fpRecord->Draw(Accepted(n, p));
}

void MCRNGBinomial::SetParameters(double n, double p)
{
    fpRecord->parameters = Accepted(n, p);
}

void MCRNGBinomial::SetURNGenerator(MCRNGenerator& generator)
{
    fpRecord->source.Use(generator);
}

void MCRNGBinomial::Display() const
{
    MCDisplay_930::DisplayStart("MCRNGBinomial");
    MCDisplay_930::Display("Number of trials", fpRecord->parameters.n);
    MCDisplay_930::Display("Probability", fpRecord->parameters.p);
    fpRecord->source.Display();
    MCDisplay_930::DisplayEnd("MCRNGBinomial");
}

} // namespace MCMath_930
