#include "modelcore/matrix/IMCRectMatrix.h"

namespace MCMath_930 {

// Here, so that the table of virtual functions is emitted in the library and nowhere else.
IMCRectMatrix::~IMCRectMatrix() = default;

} // namespace MCMath_930
