// MCRNGNormal.
#include "modelcore/random/MCRNGNormal.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/random/internal/KindermanRamage.h"
#include "modelcore/random/internal/UniformSource.h"

namespace MCMath_930 {

namespace {

struct Parameters {
    double mean;
    double sd;
};

Parameters Accepted(double mean, double sd)
{
    return sd >= 0.0 ? Parameters{mean, sd} : Parameters{0.0, 1.0};
}

} // namespace

struct MCRNGNormal::Record {
    internal::UniformSource source;
    Parameters parameters;

    explicit Record(const Parameters& initial) : parameters(initial) {}

    double Draw(const Parameters& p)
    {
        const double z = source.Draw([](auto next) { return internal::StandardNormal(next); });
        return MCCommon_930::MCMV::IsMissing(z) ? z : p.mean + p.sd * z;
    }
};

MCRNGNormal::MCRNGNormal() : MCRNGNormal(0.0, 1.0) {}

MCRNGNormal::MCRNGNormal(double mean, double sd) : fpRecord(std::make_unique<Record>(Accepted(mean, sd))) {}

MCRNGNormal::MCRNGNormal(const MCRNGNormal&) = default;
MCRNGNormal& MCRNGNormal::operator=(const MCRNGNormal&) = default;
MCRNGNormal::~MCRNGNormal() = default;

void MCRNGNormal::SetSeed(double s)
{
    fpRecord->source.Get().SetSeed(s);
}

double MCRNGNormal::GetNext()
{
    return fpRecord->Draw(fpRecord->parameters);
}

double MCRNGNormal::GetNext(double mean, double sd)
{
    return fpRecord->Draw(Accepted(mean, sd));
}

void MCRNGNormal::SetParameters(double mean, double sd)
{
    fpRecord->parameters = Accepted(mean, sd);
}

void MCRNGNormal::SetURNGenerator(MCRNGenerator& generator)
{
    fpRecord->source.Use(generator);
}

void MCRNGNormal::Display() const
{
    MCDisplay_930::DisplayStart("MCRNGNormal");
    MCDisplay_930::Display("Mean", fpRecord->parameters.mean);
    MCDisplay_930::Display("Standard deviation", fpRecord->parameters.sd);
    fpRecord->source.Display();
    MCDisplay_930::DisplayEnd("MCRNGNormal");
}

} // namespace MCMath_930
