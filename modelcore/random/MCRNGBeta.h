// Beta variates from any uniform source.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/random/MCRNGenerator.h"
#include "modelcore/random/internal/CopiedRecord.h"

namespace MCMath_930 {

/// Beta distributed numbers, made from the uniform numbers of an MCRNGenerator.
///
/// The method depends on the shapes a and b alone, and with it how many numbers a variate draws and in what order:
///
///   a = b = 1                       one uniform, which is the variate
///   a = b > 1.5                     algorithm BS of J. H. Ahrens and U. Dieter, Computing 12 (1974), 223-246: for each
///                                   trial a standard normal (MCRNGNormal), then a uniform unless the normal leads out
///                                   of [0, 1]
///   both above 1 otherwise          algorithm BB of R. C. H. Cheng, Communications of the ACM 21 (1978), 317-322: two
///                                   uniforms for each trial
///   the smaller in [0.052, 1]       Cheng's algorithm BC, two uniforms for each trial; in both a trial whose first
///                                   uniform is 0 is refused
///   the smaller below 0.052         inversion: one uniform u, the variate being MCDistFun::IdfBeta(u, a, b). There the
///                                   exponentials of BC would leave the range of a double.
///
/// All are exact. Shapes up to 1e10 are drawn to full accuracy, equal ones up to any size.
///
/// The uniform source is the caller's, which must outlive this object, or an MCRNGUCongruential with state 1 that the
/// object makes and owns when it needs one. A copy shares a caller's source and goes on from a copy of an owned one.
class MODELCORE_EXPORT MCRNGBeta : public MCRNGenerator {
public:
    /// The shapes 1 and 1, which is the uniform distribution.
    MCRNGBeta();

    /// As SetParameters.
    MCRNGBeta(double a, double b);

    /// Shares a caller's source, goes on from a copy of an owned one.
    MCRNGBeta(const MCRNGBeta& other);

    /// The same; when memory runs out, this object is as it was.
    MCRNGBeta& operator=(const MCRNGBeta& other);

    /// Destroys an owned source.
    ~MCRNGBeta() override;

    /// Seeds the uniform source, making an owned one first when there is none.
    void SetSeed(double s) override;

    /// A variate with the stored shapes, in [0, 1]; 0 and 1 themselves where the nearest double is one of them.
    /// System-missing when a broken source (all NaN, say) lets no trial pass.
    double GetNext() override;

    /// The same with shapes of this one draw, which are not stored.
    double GetNext(double a, double b);

    /// Stores the shapes. When either is not above 0 or not finite, both become 1.
    void SetParameters(double a, double b);

    /// Draws from the caller's generator from now on. An owned source is destroyed.
    void SetURNGenerator(MCRNGenerator& generator);

    /// Writes the shapes to the diagnostic text stream.
    void Display() const;

private:
    struct Record;
    internal::CopiedRecord<Record> fpRecord;
};

} // namespace MCMath_930
