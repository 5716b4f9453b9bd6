// The code of docs/sweep.md: a regression by hand, with a redundant column.
#include "modelcore/modelcore.h"

#include <cmath>
#include <cstdio>
#include <vector>

using namespace MCMath_930;

int main()
{
    MCSymMatrix s(4); // intercept, x, z = x + 1, and the response y
    for (const std::vector<double>& row : {std::vector<double>{1, 1, 2, 3}, {1, 2, 3, 5}, {1, 3, 4, 6}, {1, 4, 5, 10}})
        s.UpdateXX(row, 1.0);
    std::vector<double> diagonal;
    s.GetDiagonal(diagonal);

    MCBitSet swept(4);
    const bool all = s.SweepOnMany({0, 1, 2}, 1e-8, diagonal, swept, true); // false: z says nothing new

    std::vector<double> coefficients;
    s.GetRegCoeffs(3, swept, coefficients);                           // 0 for z, which is not swept
    const double residual = s.GetElem(3, 3);                          // residual sum of squares
    const double variance = residual / (4 - swept.Count());           // per degree of freedom
    const double slopeError = std::sqrt(-s.GetElem(1, 1) * variance); // sqrt(0.9/5)
    std::printf("%s; z %s\n", all ? "all swept" : "one was refused", swept.IsIn(2) ? "swept" : "left out");
    std::printf("y = %.1f + %.1f x + %.1f z\n", coefficients[0], coefficients[1], coefficients[2]);
    std::printf("residual sum of squares %.1f, variance %.1f, standard error of the slope %.4f\n", residual, variance,
                slopeError);
}
