// The beta family over arrays: IncompleteBeta.cpp and the points of IncompleteBeta.h in the ranges where most points are.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

constexpr double kEndsAtOnce = 1e-30;

inline DividingPoint<Lanes> BetaPoint(Lanes at, const BetaTask& task)
{
    switch (task.kind) {
    case BetaTask::Kind::fisher: return Dividing<Lanes>(ExactProduct(at, task.df1), {task.df2, Lanes(0.0)});
    case BetaTask::Kind::student: return Dividing<Lanes>({task.df1, Lanes(0.0)}, ExactProduct(at, at));
    default: return {{at, Lanes(0.0)}, ExactSumOrdered(Lanes(1.0), -at)};
    }
}

inline Lanes BetaResult(Lanes at, Lanes tail, const BetaTask& task)
{
    if (task.kind != BetaTask::Kind::student) return tail;
    const Lanes half = 0.5 * tail;
    return Choose(at > 0.0, 1.0 - half, half);
}

void BetaBySeries(double* x, std::size_t count, const BetaShapes& shapes, const BetaTask& task)
{
    const double a = task.opposite ? shapes.b : shapes.a;
    const double b = task.opposite ? shapes.a : shapes.b;
    const double scale = task.opposite ? shapes.oppositeSeriesScale : shapes.seriesScale;
    if (task.kind == BetaTask::Kind::student && task.opposite) {
        Map(x, count, [&](Lanes at) {
            const ExpValues<Lanes> values = BetaHalfSeries<Lanes>(StudentCentre(at, task.df1), b, scale);
            return BetaResult(at, task.wantLower ? values.complement : values.value, task);
        });
        return;
    }
    Map(x, count, [&](Lanes at) {
        const DividingPoint<Lanes> point = BetaPoint(at, task);
        const Twofold<Lanes> near = task.opposite ? point.y : point.x;
        const ExpValues<Lanes> values =
            a == 0.5 ? BetaHalfSeries<Lanes>(near.head, b, scale) : BetaSeries<Lanes>(near, a, b, scale);
        return BetaResult(at, task.opposite == task.wantLower ? values.complement : values.value, task);
    });
}

void BetaByFraction(double* x, std::size_t count, const BetaShapes& shapes, const BetaTask& task)
{
    const double a = task.opposite ? shapes.b : shapes.a;
    const double b = task.opposite ? shapes.a : shapes.b;
    const double spread2 = shapes.Spread2();
    if (a == 0.5 || b == 0.5) {
        Map(x, count, [&](Lanes at) {
            const DividingPoint<Lanes> point = BetaPoint(at, task);
            const BetaSide<Lanes> side{point.x, point.y, shapes.a, shapes.b};
            const Lanes weight = HalfBetaWeight(side, shapes);
            const Lanes distance = task.opposite ? -HalfBetaDistance(side) : HalfBetaDistance(side);
            const Lanes u = task.opposite ? point.y.head : point.x.head;
            const Lanes v = task.opposite ? point.x.head : point.y.head;
            const Lanes near = Choose(weight > 0.0, weight * BetaFraction(a, b, u, v, distance), Lanes(0.0));
            return BetaResult(at, task.opposite == task.wantLower ? 1.0 - near : near, task);
        });
        return;
    }
    const ExpansionCoefficients& coefficients = task.opposite ? shapes.above : shapes.below;
    Map(x, count, [&](Lanes at) {
        const DividingPoint<Lanes> point = BetaPoint(at, task);
        const BetaPosition<Lanes> position = LocateBeta<Lanes>({point.x, point.y, shapes.a, shapes.b});
        const Twofold<Lanes> distance = task.opposite ? -position.distance : position.distance;
        const Mask expands = position.deviance.head <=
                             (spread2 >= kLeastExpansionSpread ? kMostExpansionDeviance * spread2 : -__builtin_inf());
        Lanes near = 0.0;
        if (AnyOf(expands)) near = BetaExpansion<Lanes>(coefficients, shapes.remainder, position.deviance);
        if (AnyOf(Not(expands))) {
            const Lanes weight = BetaWeightOf<Lanes>(shapes.weight, position.deviance);
            // Where the expansion serves the fraction would take long: it goes through a point where it ends at once.
            const Lanes u = Choose(expands, Lanes(kEndsAtOnce), task.opposite ? point.y.head : point.x.head);
            const Lanes v = Choose(expands, Lanes(1.0), task.opposite ? point.x.head : point.y.head);
            const Lanes way = Choose(expands, Lanes(a), distance.head + distance.tail);
            const Lanes sum = Choose(weight > 0.0, weight * BetaFraction(a, b, u, v, way), Lanes(0.0));
            near = Choose(expands, near, sum);
        }
        return BetaResult(at, task.opposite == task.wantLower ? 1.0 - near : near, task);
    });
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
