// Headers and library belong together: status 1 when they do not.
#include "modelcore/modelcore.h"

#include <cstring>

int main()
{
    using MCCommon_930::MCVersion;
    const bool same =
        MCVersion::GetNumber() == MODELCORE_VERSION && std::strcmp(MCVersion::GetText(), MODELCORE_VERSION_TEXT) == 0;
    return same ? 0 : 1;
}
