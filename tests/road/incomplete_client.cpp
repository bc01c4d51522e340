// A client library that lacks fifteen of its entry points.
extern "C" __attribute__((visibility("default"))) int OCIEnvCreate() {
    return -1;
}
