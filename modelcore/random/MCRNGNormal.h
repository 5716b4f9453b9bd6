// Normal variates from any uniform source.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/random/MCRNGenerator.h"
#include "modelcore/random/internal/CopiedRecord.h"

namespace MCMath_930 {

/// Normally distributed numbers, made from the uniform numbers of an MCRNGenerator.
///
/// Method: A. J. Kinderman and J. G. Ramage, Journal of the American Statistical Association 71 (1976), 893-896, with
/// the correction of G. Tirler, P. Dalgaard, W. Hoermann and J. Leydold, Computational Statistics and Data Analysis 47
/// (2004), 433-440. A variate takes two uniforms with probability 0.884, else one and then two for each trial; 2.16 on
/// average. Nothing is kept from one variate for the next.
///
/// The uniform source is the caller's, which must outlive this object, or an MCRNGUCongruential with state 1 that the
/// object makes and owns when it needs one. A copy shares a caller's source and goes on from a copy of an owned one.
class MODELCORE_EXPORT MCRNGNormal : public MCRNGenerator {
public:
    /// The standard normal distribution.
    MCRNGNormal();

    /// As SetParameters.
    MCRNGNormal(double mean, double sd);

    /// Shares a caller's source, goes on from a copy of an owned one.
    MCRNGNormal(const MCRNGNormal& other);

    /// The same; when memory runs out, this object is as it was.
    MCRNGNormal& operator=(const MCRNGNormal& other);

    /// Destroys an owned source.
    ~MCRNGNormal() override;

    /// Seeds the uniform source, making an owned one first when there is none.
    void SetSeed(double s) override;

    /// mean + sd * z with the stored parameters. System-missing when a broken source (all NaN, say) lets no trial pass.
    double GetNext() override;

    /// The same with parameters of this one draw, which are not stored.
    double GetNext(double mean, double sd);

    /// Stores the parameters. A standard deviation that is negative or NaN makes it the standard normal distribution, a
    /// mean of 0 and a standard deviation of 1; a standard deviation of 0 is kept and gives the mean.
    void SetParameters(double mean, double sd);

    /// Draws from the caller's generator from now on. An owned source is destroyed.
    void SetURNGenerator(MCRNGenerator& generator);

    /// Writes the parameters to the diagnostic text stream.
    void Display() const;

private:
    struct Record;
    internal::CopiedRecord<Record> fpRecord;
};

} // namespace MCMath_930
