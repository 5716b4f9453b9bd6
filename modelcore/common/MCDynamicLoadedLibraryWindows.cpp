// MCDynamicLoadedLibrary: the loader calls of Windows.
#include "modelcore/common/MCDynamicLoadedLibrary.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace MCCommon_930 {

namespace {

/// What the system says of the last error, behind the name that was asked for, which it leaves out.
std::string LoaderMessage(const std::string& name)
{
    const DWORD code = GetLastError();
    char text[512];
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text,
                                  static_cast<DWORD>(sizeof text), nullptr);
    while (length > 0 && (text[length - 1] == '\r' || text[length - 1] == '\n')) --length;
    return name + ": " + (length > 0 ? std::string(text, length) : "error " + std::to_string(code) + " of the loader");
}

} // namespace

bool MCDynamicLoadedLibrary::Load(const std::string& name)
{
    const HMODULE handle = LoadLibraryA(name.c_str());
    if (handle == nullptr) {
        fMessage = LoaderMessage(name);
        return false;
    }
    if (IsLoaded()) Unload();
    fpHandle = handle;
    return true;
}

bool MCDynamicLoadedLibrary::Unload()
{
    if (!IsLoaded()) {
        fMessage = "no library is loaded";
        return false;
    }
    const bool closed = FreeLibrary(static_cast<HMODULE>(std::exchange(fpHandle, nullptr))) != 0;
    if (!closed) fMessage = LoaderMessage("FreeLibrary");
    return closed;
}

void* MCDynamicLoadedLibrary::GetSymbol(const std::string& name) const
{
    if (!IsLoaded()) {
        fMessage = "no library is loaded";
        return nullptr;
    }
    void* const address = reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(fpHandle), name.c_str()));
    if (address == nullptr) fMessage = LoaderMessage(name);
    return address;
}

} // namespace MCCommon_930
