// Linked into the programs that unload the module, give up on threads, or leave frames by a fault.
// The leak sanitizer stumbles over a module that is gone, and the rest is lost on purpose; leaks
// are asked for by a test of their own.
#ifdef __GNUC__
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "detect_leaks=0";
}
#endif
