// The gamma distribution over arrays: IncompleteGamma.cpp in the ranges where most points are.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

void Exponential(double* x, std::size_t count, bool lowerTail)
{
    Map(x, count, [=](Lanes at) {
        const ExpValues<Lanes> values = ExpBoth(-at, Lanes(-0.0));
        return lowerTail ? values.complement : Choose(at > 708.0, Lanes(0.0), values.value);
    });
}

void OfSmallShape(double* x, std::size_t count, const GammaShape& shape, bool lowerTail)
{
    Map(x, count, [&](Lanes at) {
        const ExpValues<Lanes> values = GammaOfSmallShape<Lanes>({at, Lanes(0.0)}, shape.a, shape.logOnePlus);
        return lowerTail ? values.value : values.complement;
    });
}

/// The tail that a sum is for, from which the other follows. One above 1 is left to the function of a number, and so is a
/// NaN.
inline Lanes GammaTail(Lanes near, bool wantNear)
{
    near = Choose(near < kLeastGamma, Lanes(0.0), near);
    const Lanes wanted = wantNear ? near : 1.0 - near;
    return Choose(near <= 1.0, wanted, Lanes(__builtin_nan("")));
}

void BySeries(double* x, std::size_t count, const GammaShape& shape, bool lowerTail)
{
    Map(x, count, [&](Lanes at) {
        const Lanes weight = GammaDensityTimesXOf<Lanes>({at, Lanes(0.0)}, shape.a, shape.weight);
        return GammaTail(Choose(weight > 0.0, weight * (GammaSeries(at, shape.a) / shape.a), Lanes(0.0)), lowerTail);
    });
}

void ByFraction(double* x, std::size_t count, const GammaShape& shape, bool lowerTail)
{
    Map(x, count, [&](Lanes at) {
        const Lanes weight = GammaDensityTimesXOf<Lanes>({at, Lanes(0.0)}, shape.a, shape.weight);
        return GammaTail(Choose(weight > 0.0, weight * GammaFraction(at, shape.a), Lanes(0.0)), !lowerTail);
    });
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
