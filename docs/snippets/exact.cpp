// The code of docs/exact.md: sums that do not depend on the order, a case taken away, a polynomial by pairs of columns.
#include "modelcore/modelcore.h"

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace MCMath_930;

int main()
{
    // Two variables: one with a large mean, one from 1e-9 to 1e9.
    std::vector<std::vector<double>> cases;
    for (int i = 0; i < 3000; ++i) cases.push_back({1e9 + i % 7 * 0.1, i % 2 == 0 ? 1e9 / (i + 1) : -1e-9 * i});

    MCExactXProducts forward(2, true, true, false), backward = forward, left = forward, right = forward;
    for (const std::vector<double>& x : cases) forward.AddCase(x, 1.0);
    std::reverse(cases.begin(), cases.end());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        backward.AddCase(cases[i], 1.0);
        (i % 5 == 0 ? left : right).AddCase(cases[i], 1.0);
    }
    right.Merge(left);
    std::printf("forward and backward %s, parts merged %s\n", forward.Equal(backward) ? "equal" : "differ",
                forward.Equal(right) ? "equal" : "differ");

    MCMeansXProducts plain(2, true, false, false), turned = plain;
    MCRectMatrix block(3000, 2);
    for (int i = 0; i < 3000; ++i) block.SetRow(i, cases[static_cast<std::size_t>(i)]);
    plain.Compute(block, 0);
    for (int i = 0; i < 3000; ++i) block.SetRow(i, cases[static_cast<std::size_t>(2999 - i)]);
    turned.Compute(block, 0);
    MCSymMatrix products;
    forward.GetXProds(products);
    std::printf("cross product, exact   %.17g\n", products.GetElem(1, 0));
    std::printf("plain, in two orders   %.17g\n                       %.17g\n", plain.GetXProds().GetElem(1, 0),
                turned.GetXProds().GetElem(1, 0));

    // An outlier leaves nothing behind.
    forward.AddCase({1e300, -1e300}, 1.0);
    forward.DeleteCase({1e300, -1e300}, 1.0);
    std::printf("after an outlier %s\n", forward.Equal(backward) ? "equal" : "differ");

    // y = x^3 / 3 at x = 0.1, 0.2, ...: a power that a double rounds stands in two columns, high and low.
    MCExactXProducts cubic(4, true, false, false); // y, x, x^3 high, x^3 low
    for (int i = 1; i <= 20; ++i) {
        const MCExtended x{0.1 * i}, cube = x * x * x;
        cubic.AddCase({cube.high / 3.0, x.high, cube.high, cube.low}, 1.0);
    }
    std::vector<MCExtended> means;
    MCExtendedSym s;
    cubic.GetExtended({{1, -1}, {2, 3}, {0, -1}}, means, s);
    std::vector<double> diagonal;
    s.GetDiagonal(diagonal);
    MCBitSet swept(3);
    s.SweepOnMany({0, 1}, 1e-20, diagonal, swept, true);
    std::printf("coefficient of x^3 %.16f\n", s.GetElem(2, 1).high);
}
