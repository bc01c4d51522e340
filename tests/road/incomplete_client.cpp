// A client library that lacks fifteen of its entry points.
#ifdef _WIN32
#define ENTRY extern "C" __declspec(dllexport)
#else
#define ENTRY extern "C" __attribute__((visibility("default")))
#endif

ENTRY int OCIEnvCreate() {
    return -1;
}
