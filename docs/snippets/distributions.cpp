// The code of docs/distributions.md.
#include "modelcore/modelcore.h"

#include <cstdio>
#include <vector>

using MCMath_930::MCDistFun;

int main()
{
    const double significance = MCDistFun::SigF(4.26, 2, 27);      // upper tail, small values keep their digits
    const double limit = MCDistFun::IdfT(0.975, 27, 1e-12, 1e-20); // t quantile
    const double power = 1 - MCDistFun::NonCentralCdfF(MCDistFun::IdfF(0.95, 2, 27), 2, 27, 9.5, 0);
    std::printf("significance %.6f, limit %.6f, power %.6f\n", significance, limit, power);

    const std::vector<double> f{0.7, 4.26, 11.3};
    std::vector<double> tails(f.size());
    MCDistFun::SigF(f.data(), tails.data(), f.size(), 2, 27); // of each element, with the bits of SigF(f[i], 2, 27)
    std::printf("tails %.6f %.6f %.6f\n", tails[0], tails[1], tails[2]);
}
