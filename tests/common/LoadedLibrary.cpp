// The shared library that MCDynamicLoadedLibraryTest loads.
#if defined(_WIN32)
#define LOADED_EXPORT __declspec(dllexport)
#else
#define LOADED_EXPORT __attribute__((visibility("default")))
#endif

extern "C" LOADED_EXPORT double LoadedCube(double x)
{
    return x * x * x;
}
