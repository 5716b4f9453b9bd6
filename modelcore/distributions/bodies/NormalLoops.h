// The normal distribution over arrays.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

inline Lanes WholePart(Lanes x) // of 0 <= x < 2^51
{
    const Lanes rounded = (x + 0x1p52) - 0x1p52;
    return rounded - Choose(rounded > x, Lanes(1.0), Lanes(0.0));
}

/// The coefficients of erf, highest power first: a row for each power, in it the five intervals of kErfNear and the five
/// of kErfFar.
struct ErfRows {
    double row[13][16];
};
constexpr ErfRows MakeErfRows()
{
    ErfRows rows{};
    for (std::size_t power = 0; power < 13; ++power)
        for (std::size_t piece = 0; piece < 5; ++piece) {
            rows.row[power][piece] = kErfNear[piece][power];
            rows.row[power][5 + piece] = kErfFar[piece][power];
        }
    return rows;
}
constexpr ErfRows kErfRows = MakeErfRows();

/// MCDistFun::derf for w >= 0.
inline Lanes Erf(Lanes w)
{
    constexpr double kLast = 6.9;
    const Lanes square = w * w;
    const Mask near = w < 2.2;
    const Mask beyond = Not(w < kLast);
    const Lanes bounded = Choose(beyond, Lanes(6.0), w);
    const Lanes whole = WholePart(Choose(near, square, bounded));
    const Lanes t = Choose(near, square, bounded) - whole;
    const Bits piece = BitsOf(Choose(near, whole, whole + 3.0) + 0x1p52) & 15u;
    const Lanes value =
        ErfPolynomial<Lanes>(t, [&](std::size_t power) { return LookupOf16(kErfRows.row[power], piece); });
    Lanes rest = value * value;
    rest = rest * rest;
    rest = rest * rest;
    rest = rest * rest;
    return Choose(near, value * w, Choose(beyond, Lanes(1.0), 1.0 - rest));
}

constexpr double kRootOfTwo = 1.4142135623730951;

void NormalAbove(double* z, std::size_t count)
{
    Map(z, count, [](Lanes at) { return (1.0 + Erf(at / kRootOfTwo)) / 2.0; });
}

void NormalBelow(double* z, std::size_t count)
{
    Map(z, count, [](Lanes at) {
        const Lanes lower = ScaledErfc(-at / kRootOfTwo) * ExpMinusSquare(-at, 0.5) / 2.0;
        return Choose(at == 0.0, Lanes(0.5), lower);
    });
}

void NormalCentre(double* p, std::size_t count, double mean, double sd)
{
    Map(p, count, [=](Lanes at) {
        const Lanes q = at - 0.5;
        return Choose(q == 0.0, Lanes(mean), mean + sd * CentralQuantile(q));
    });
}

void NormalTails(double* p, std::size_t count, double mean, double sd)
{
    Map(p, count, [=](Lanes at) {
        const Mask below = at < 0.5;
        const Lanes root = TailRoot(Choose(below, at, 1.0 - at));
        Lanes z = NearTailQuantile(root);
        if (AnyOf(root > kFarRoot)) z = Choose(root > kFarRoot, FarTailQuantile(root), z);
        return mean + sd * Choose(below, -z, z);
    });
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
