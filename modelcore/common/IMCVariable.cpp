// The interface of a variable.
#include "modelcore/common/IMCVariable.h"

namespace MCXML_930 {

IMCVariable::~IMCVariable() = default;

} // namespace MCXML_930
