// RawRecord.
#include "modelcore/common/RawRecord.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>

namespace MCCommon_930 {

bool RawRecord::Resize(int n)
{
    n = std::max(n, 0);
    if (n != Size()) fvCells = std::vector<RawData>(static_cast<std::size_t>(n));
    return true;
}

void RawRecord::Display() const
{
    MCDisplay_930::DisplayStart("RawRecord");
    MCDisplay_930::Display("Number of cells", Size());
    for (const RawData& cell : fvCells) cell.Display();
    MCDisplay_930::DisplayEnd("RawRecord");
}

} // namespace MCCommon_930
