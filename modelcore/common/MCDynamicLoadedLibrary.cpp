// MCDynamicLoadedLibrary: what is the same on every platform. The calls to the platform's loader are in
// MCDynamicLoadedLibraryPosix.cpp and MCDynamicLoadedLibraryWindows.cpp, of which one is built.
#include "modelcore/common/MCDynamicLoadedLibrary.h"

#include "modelcore/common/MCDisplay.h"

namespace MCCommon_930 {

MCDynamicLoadedLibrary::MCDynamicLoadedLibrary(MCDynamicLoadedLibrary&& other) noexcept
    : fpHandle(std::exchange(other.fpHandle, nullptr)), fMessage(std::move(other.fMessage))
{}

MCDynamicLoadedLibrary& MCDynamicLoadedLibrary::operator=(MCDynamicLoadedLibrary&& other) noexcept
{
    MCDynamicLoadedLibrary taken(std::move(other));
    std::swap(fpHandle, taken.fpHandle);
    fMessage.swap(taken.fMessage);
    return *this;
}

MCDynamicLoadedLibrary::~MCDynamicLoadedLibrary()
{
    if (IsLoaded()) Unload();
}

void MCDynamicLoadedLibrary::Display() const
{
    MCDisplay_930::DisplayStart("MCDynamicLoadedLibrary");
    MCDisplay_930::Display("Loaded indicator", IsLoaded());
    MCDisplay_930::Display("Last message", fMessage);
    MCDisplay_930::DisplayEnd("MCDynamicLoadedLibrary");
}

} // namespace MCCommon_930
