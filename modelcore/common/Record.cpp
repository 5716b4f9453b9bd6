// Record.
#include "modelcore/common/Record.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <span>

namespace MCCommon_930 {

namespace {

std::unique_ptr<double[]> Uninitialised(int n)
{
    return n > 0 ? std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(n)) : nullptr;
}

} // namespace

Record::Record(int n) : fnSize(n < 0 ? 1 : n), fvElem(Uninitialised(fnSize))
{
    std::fill_n(fvElem.get(), fnSize, 0.0);
}

Record::Record(const Record& other) : fnSize(other.fnSize), fvElem(Uninitialised(fnSize))
{
    std::copy_n(other.fvElem.get(), fnSize, fvElem.get());
}

Record& Record::operator=(const Record& other)
{
    return *this = Record(other);
}

Record& Record::operator=(Record&& other) noexcept
{
    fvElem = std::move(other.fvElem);
    fnSize = std::exchange(other.fnSize, 0);
    return *this;
}

bool Record::Resize(int n)
{
    n = std::max(n, 0);
    if (n == fnSize) return true;
    fvElem = Uninitialised(n);
    fnSize = n;
    return true;
}

void Record::Display() const
{
    MCDisplay_930::DisplayStart("Record");
    MCDisplay_930::Display("Elements", std::span<const double>(fvElem.get(), static_cast<std::size_t>(fnSize)));
    MCDisplay_930::DisplayEnd("Record");
}

} // namespace MCCommon_930
