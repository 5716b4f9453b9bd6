// MCCancelInfo.
#include "modelcore/common/MCCancelInfo.h"

#include "modelcore/common/MCDisplay.h"

namespace MCMath_930 {

bool MCCancelInfo::IsCancel()
{
    if (!fCancelled && fpQuery != nullptr) fCancelled = fpQuery->CheckCancel();
    return fCancelled;
}

bool MCCancelInfo::WillCancel() const
{
    return fCancelled || (fpQuery != nullptr && fpQuery->PeekCancel());
}

void MCCancelInfo::Display() const
{
    MCDisplay_930::DisplayStart("MCCancelInfo");
    MCDisplay_930::Display("Cancel query indicator", fpQuery != nullptr);
    MCDisplay_930::Display("Cancelled indicator", fCancelled);
    MCDisplay_930::DisplayEnd("MCCancelInfo");
}

} // namespace MCMath_930
