#include "modelcore/modelcore.h"

#include <cmath>
#include <cstdio>
#include <vector>

int main()
{
    using namespace MCMath_930;
    MCRectMatrix rows(6, 2); // one row a case: x, y
    const double y[] = {2.1, 3.9, 6.2, 7.8, 10.1, 11.8};
    for (int i = 0; i < 6; ++i) rows.SetRow(i, {i + 1.0, y[i]});

    MCMeansXProducts sums(2, true, false, false); // two variables, an intercept, no weights
    sums.Compute(rows, 0);
    MCSymMatrix s = sums.GetXProds();
    std::vector<double> diagonal;
    s.GetDiagonal(diagonal);
    MCBitSet swept(2);
    if (!s.Sweep(0, 1e-8, diagonal, swept, true)) return 1; // x is constant

    const double slope = s.GetElem(1, 0);
    const double df = sums.GetNCases() - 2;
    const double se = std::sqrt(-s.GetElem(0, 0) * s.GetElem(1, 1) / df);
    std::printf("slope %.4f, standard error %.4f, significance %.2g\n", slope, se,
                2 * MCDistFun::SigT(std::fabs(slope / se), df));
}
