// MCException.
#include "modelcore/common/MCException.h"

#include "modelcore/common/MCDisplay.h"

namespace MCCommon_930 {

MCException::MCException(int code, const std::string& message)
    : fCode(code), fpMessage(std::make_shared<const std::string>(message))
{}

MCException::~MCException() = default;

void MCException::Display() const
{
    MCDisplay_930::DisplayStart("MCException");
    MCDisplay_930::Display("Code", fCode);
    MCDisplay_930::Display("Message", GetMessage());
    MCDisplay_930::DisplayEnd("MCException");
}

} // namespace MCCommon_930
