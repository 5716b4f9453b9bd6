// The loops of internal/ArrayLoops.h: compiled once for each level of instruction set, with MODELCORE_KERNEL_SET naming its
// namespace. Of other headers only templates are used, with Lanes for their number, so that nothing made with the flags of
// a level is seen outside this source (KernelSet.h says why).
#ifndef MODELCORE_KERNEL_SET
#error "ArrayBody.h is compiled by the sources that modelcore_compile_for_each_level makes"
#endif

#include "modelcore/distributions/internal/ArrayLoops.h"
#include "modelcore/distributions/internal/BetaSums.h"
#include "modelcore/distributions/internal/GammaSums.h"
#include "modelcore/distributions/internal/Normal.h"

#include "modelcore/distributions/bodies/Lanes.h"

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

static_assert(kMostLanes % kLanes == 0);

template <class Function>
void Map(double* x, std::size_t count, Function function)
{
    for (std::size_t i = 0; i < count; i += kLanes) Store(x + i, function(LanesAt(x + i)));
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET

#include "modelcore/distributions/bodies/BetaLoops.h"
#include "modelcore/distributions/bodies/GammaLoops.h"
#include "modelcore/distributions/bodies/NormalLoops.h"

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

extern const ArrayLoops kArrayLoops;
const ArrayLoops kArrayLoops = {NormalAbove,  NormalBelow, NormalCentre, NormalTails,  Exponential,
                                OfSmallShape, BySeries,    ByFraction,   BetaBySeries, BetaByFraction};

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
