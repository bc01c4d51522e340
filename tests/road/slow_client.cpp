// A client library that takes its time to load, whatever signals come, and then has no entry point
// to bind.
#include <ctime>

namespace {

__attribute__((constructor)) void load_slowly() {
    timespec left = {6, 0};
    while (nanosleep(&left, &left) != 0) {
    }
}

}  // namespace
