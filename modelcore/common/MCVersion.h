// Which version of the library a program runs with.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/modelcore_version.h"

namespace MCCommon_930 {

/// The version of the library that is loaded. It differs from MODELCORE_VERSION, the version of the headers that a
/// program was compiled with, when the shared library was replaced since.
class MODELCORE_EXPORT MCVersion {
public:
    /// 10000 * major + 100 * minor + patch: 90300 for 9.3.0.
    static int GetNumber();
    /// "9.3.0"
    static const char* GetText();
};

} // namespace MCCommon_930
