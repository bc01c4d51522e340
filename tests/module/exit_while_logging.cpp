// A process that ends while threads of its own are in the module and write its log.
#include <chrono>
#include <cstdlib>
#include <thread>

#include "oralib/oralib.h"
#include "sandbox/native.h"

int main() {
    // Not given back: its threads are still in it.
    static const auto& module = *new sandbox::library_t(ORALIB_MODULE);
    const auto init =
        reinterpret_cast<decltype(OracleVssInitLib)*>(module.find("OracleVssInitLib"));
    static const auto list =
        reinterpret_cast<decltype(OracleEnumLogs)*>(module.find("OracleEnumLogs"));
    const oralib_char name[] = {'e', 'x', 'i', 't', '.', 'l', 'o', 'g', 0};
    oralib_char* error = nullptr;
    if (init(name, &error) != ORALIB_OK) {
        return 1;
    }
    for (int i = 0; i < 3; ++i) {
        std::thread([] {
            for (;;) {
                oralib_char* result = nullptr;
                oralib_char* failure = nullptr;
                list(&result, &failure);
            }
        }).detach();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    std::exit(0);
}
