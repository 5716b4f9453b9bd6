// Binomial variates from any uniform source.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/random/MCRNGenerator.h"
#include "modelcore/random/internal/CopiedRecord.h"

namespace MCMath_930 {

/// Binomially distributed numbers, the successes among n trials of probability p, made from the uniform numbers of an
/// MCRNGenerator.
///
/// Method: while 100 trials or more are left, the middle one of their n ordered uniforms is drawn from its beta
/// distribution (MCRNGBeta), which halves the trials that are still open; an even n is made odd by one trial (J. H.
/// Ahrens and U. Dieter, Computing 12 (1974), 223-246; D. A. Relles, Journal of the American Statistical Association 67
/// (1972), 612-613). The fewer than 100 that remain are counted one uniform each, unless their probability has become 0
/// or 1, which takes none. So a variate costs about 100 uniforms at most, and a beta variate for each doubling of n
/// beyond 100. n * p = 0 draws nothing.
///
/// The uniform source is the caller's, which must outlive this object, or an MCRNGUCongruential with state 1 that the
/// object makes and owns when it needs one. A copy shares a caller's source and goes on from a copy of an owned one.
class MODELCORE_EXPORT MCRNGBinomial : public MCRNGenerator {
public:
    /// No trials.
    MCRNGBinomial();

    /// As SetParameters.
    MCRNGBinomial(double n, double p);

    /// Shares a caller's source, goes on from a copy of an owned one.
    MCRNGBinomial(const MCRNGBinomial& other);

    /// The same; when memory runs out, this object is as it was.
    MCRNGBinomial& operator=(const MCRNGBinomial& other);

    /// Destroys an owned source.
    ~MCRNGBinomial() override;

    /// Seeds the uniform source, making an owned one first when there is none.
    void SetSeed(double s) override;

    /// The number of successes, a whole number in [0, n], with the stored parameters. System-missing when a broken
    /// source (all NaN, say) lets no trial of the beta variates pass.
    double GetNext() override;

    /// The same with parameters of this one draw, which are not stored.
    double GetNext(double n, double p);

    /// Stores the parameters. When n is not a whole number >= 0 or p is not in [0, 1], both become 0.
    void SetParameters(double n, double p);

    /// Draws from the caller's generator from now on. An owned source is destroyed.
    void SetURNGenerator(MCRNGenerator& generator);

    /// Writes the parameters to the diagnostic text stream.
    void Display() const;

private:
    struct Record;
    internal::CopiedRecord<Record> fpRecord;
};

} // namespace MCMath_930
