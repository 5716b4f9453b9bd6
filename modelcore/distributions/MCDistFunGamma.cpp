// MCDistFun: log-gamma and the gamma family.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/GammaPieces.h"

#include <cmath>

namespace MCMath_930 {

using MCCommon_930::MCMV;

double MCDistFun::dnlgam(double x)
{
    if (x > 0.0) return std::isinf(x) ? x : internal::LogGamma(x);
    return std::isnan(x) ? x : MCMV::Missing();
}

double MCDistFun::tavodnlgam(const double& x)
{
    return dnlgam(x);
}

} // namespace MCMath_930
