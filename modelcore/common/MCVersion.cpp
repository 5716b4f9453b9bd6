#include "modelcore/common/MCVersion.h"

namespace MCCommon_930 {

int MCVersion::GetNumber()
{
    return MODELCORE_VERSION;
}

const char* MCVersion::GetText()
{
    return MODELCORE_VERSION_TEXT;
}

} // namespace MCCommon_930
