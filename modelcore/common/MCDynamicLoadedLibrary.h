// Loading of other shared libraries by name.
#pragma once

#include "modelcore/modelcore_export.h"

#include <string>
#include <type_traits>
#include <utility>

namespace MCCommon_930 {

/// A shared library that is loaded while the program runs. The object owns the loaded library and unloads it at the
/// end; it can be moved, not copied.
class MODELCORE_EXPORT MCDynamicLoadedLibrary {
public:
    /// No library.
    MCDynamicLoadedLibrary() = default;
    /// Load(name); IsLoaded tells whether it worked.
    explicit MCDynamicLoadedLibrary(const std::string& name) { Load(name); }
    /// The library passes to this object; the other has none then.
    MCDynamicLoadedLibrary(MCDynamicLoadedLibrary&& other) noexcept;
    MCDynamicLoadedLibrary& operator=(MCDynamicLoadedLibrary&& other) noexcept;
    /// Unloads the library.
    ~MCDynamicLoadedLibrary();

    /// Loads a library, by a path or by a name that the platform searches for as it does for a program's own libraries,
    /// in the place of the one that is loaded.
    ///
    /// @return  false when it cannot be loaded; the one that was loaded then stays
    bool Load(const std::string& name);

    /// Unloads the library; addresses out of it must not be used any more. False when none is loaded or the platform
    /// refuses.
    bool Unload();

    /// Whether a library is loaded.
    bool IsLoaded() const { return fpHandle != nullptr; }

    /// The address of an exported function or object; null when no library is loaded or it does not export the symbol.
    void* GetSymbol(const std::string& name) const;

    /// GetSymbol as a pointer to a function: library.GetFunction<double(double)>("cube"). The type is taken on trust.
    template <class Function>
    requires std::is_function_v<Function> Function* GetFunction(const std::string& name) const
    {
        return reinterpret_cast<Function*>(GetSymbol(name));
    }

    /// The platform's message for the last Load, Unload or GetSymbol that failed; empty when none has.
    const std::string& GetLastMessage() const { return fMessage; }

    /// Writes the state to the diagnostic text stream.
    void Display() const;

private:
    void* fpHandle = nullptr;
    mutable std::string fMessage;
};

} // namespace MCCommon_930
