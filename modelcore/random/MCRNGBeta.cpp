// MCRNGBeta.
#include "modelcore/random/MCRNGBeta.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/random/internal/BetaVariate.h"
#include "modelcore/random/internal/UniformSource.h"

#include <cmath>

namespace MCMath_930 {

namespace {

internal::BetaVariate Accepted(double a, double b)
{
    const bool valid = a > 0.0 && b > 0.0 && std::isfinite(a) && std::isfinite(b);
    return valid ? internal::BetaVariate(a, b) : internal::BetaVariate(1.0, 1.0);
}

} // namespace

struct MCRNGBeta::Record {
    internal::UniformSource source;
    internal::BetaVariate variate;

    explicit Record(const internal::BetaVariate& initial) : variate(initial) {}

    double Draw(const internal::BetaVariate& beta)
    {
        return source.Draw([&](auto next) { return beta.Draw(next); });
    }
};

MCRNGBeta::MCRNGBeta() : MCRNGBeta(1.0, 1.0) {}

MCRNGBeta::MCRNGBeta(double a, double b) : fpRecord(std::make_unique<Record>(Accepted(a, b))) {}

MCRNGBeta::MCRNGBeta(const MCRNGBeta&) = default;
MCRNGBeta& MCRNGBeta::operator=(const MCRNGBeta&) = default;
MCRNGBeta::~MCRNGBeta() = default;

void MCRNGBeta::SetSeed(double s)
{
    fpRecord->source.Get().SetSeed(s);
}

double MCRNGBeta::GetNext()
{
    return fpRecord->Draw(fpRecord->variate);
}

double MCRNGBeta::GetNext(double a, double b)
{
    return fpRecord->Draw(Accepted(a, b));
}

void MCRNGBeta::SetParameters(double a, double b)
{
    fpRecord->variate = Accepted(a, b);
}

void MCRNGBeta::SetURNGenerator(MCRNGenerator& generator)
{
    fpRecord->source.Use(generator);
}

void MCRNGBeta::Display() const
{
    MCDisplay_930::DisplayStart("MCRNGBeta");
    MCDisplay_930::Display("First shape", fpRecord->variate.GetA());
    MCDisplay_930::Display("Second shape", fpRecord->variate.GetB());
    fpRecord->source.Display();
    MCDisplay_930::DisplayEnd("MCRNGBeta");
}

} // namespace MCMath_930
