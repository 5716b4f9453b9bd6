#include "modelcore/matrix/IMCSymMatrix.h"

namespace MCMath_930 {

// Here, so that the table of virtual functions is emitted in the library and nowhere else.
IMCSymMatrix::~IMCSymMatrix() = default;

} // namespace MCMath_930
