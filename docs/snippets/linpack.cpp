// The code of docs/linpack.md.
#include "modelcore/modelcore.h"

#include <cstdio>
#include <vector>

using MCMath_930::Linpack;

int main()
{
    std::vector<double> a{4, 2, 1, 3}; // [4 1; 2 3], by columns
    std::vector<double> b{6, 8}, z(2);
    std::vector<int> pivots(2);
    if (1.0 + Linpack::Dgeco(a.data(), 2, 2, pivots.data(), z.data()) != 1.0)
        Linpack::Dgesl(a.data(), 2, 2, pivots.data(), b.data(), 0);
    std::printf("%g %g\n", b[0], b[1]);
}
