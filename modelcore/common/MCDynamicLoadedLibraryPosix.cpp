// MCDynamicLoadedLibrary: the loader calls of POSIX systems.
#include "modelcore/common/MCDynamicLoadedLibrary.h"

#include <dlfcn.h>

namespace MCCommon_930 {

namespace {

std::string LoaderMessage()
{
    const char* const message = dlerror();
    return message != nullptr ? message : "unknown error of the loader";
}

} // namespace

bool MCDynamicLoadedLibrary::Load(const std::string& name)
{
    // An empty name would give a handle to the program itself.
    void* const handle = name.empty() ? nullptr : dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        fMessage = name.empty() ? "the name of the library is empty" : LoaderMessage();
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
    const bool closed = dlclose(std::exchange(fpHandle, nullptr)) == 0;
    if (!closed) fMessage = LoaderMessage();
    return closed;
}

void* MCDynamicLoadedLibrary::GetSymbol(const std::string& name) const
{
    if (!IsLoaded()) {
        fMessage = "no library is loaded";
        return nullptr;
    }
    void* const address = dlsym(fpHandle, name.c_str());
    if (address == nullptr) fMessage = LoaderMessage();
    return address;
}

} // namespace MCCommon_930
