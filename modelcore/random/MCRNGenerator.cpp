// MCRNGenerator: the base of the generators.
#include "modelcore/random/MCRNGenerator.h"

namespace MCMath_930 {

MCRNGenerator::~MCRNGenerator() = default;

} // namespace MCMath_930
