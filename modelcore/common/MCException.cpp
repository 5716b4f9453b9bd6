// MCException.
#include "modelcore/common/MCException.h"

namespace MCCommon_930 {

MCException::MCException(int code, const std::string& message) : fCode(code), fMessage(message) {}

MCException::~MCException() = default;

} // namespace MCCommon_930
