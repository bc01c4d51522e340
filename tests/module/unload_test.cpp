// The module must leave the process whole: a host unloads it while its own threads live on, and
// loads it again to have new settings read.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <link.h>
#endif

#include "machine.h"
#include "oralib/oralib.h"
#include "sandbox/native.h"

namespace {

bool is_mapped() {
#ifdef _WIN32
    return GetModuleHandleW(L"oralib.dll") != nullptr;
#else
    bool found = false;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* result) {
            *static_cast<bool*>(result) |= std::strstr(info->dlpi_name, "liboralib.so") != nullptr;
            return 0;
        },
        &found);
    return found;
#endif
}

class Unload : public testing::Test {
  protected:
    void write_timeout(int seconds) const {
        char value[9];
        std::snprintf(value, sizeof value, "%08x", static_cast<unsigned>(seconds));
        machine.write_registry(
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tarny\\Tarny Client Vault]\n"
            "\"OracleConnectionTimeout\"=dword:" +
            std::string(value) + "\n");
    }

    machine_t machine;
};

template <typename Function>
Function* function(const sandbox::library_t& module, const char* name) {
    return reinterpret_cast<Function*>(module.find(name));
}

TEST_F(Unload, ManyTimesWithAThreadThatLoggedAndLivesOn) {
    constexpr int rounds = 60;
    const oralib_char name[] = {'u', 'n', 'l', 'o', 'a', 'd', '.', 'l', 'o', 'g', 0};
    for (int round = 1; round <= rounds; ++round) {
        write_timeout(1000 + round);
        auto module = std::make_unique<sandbox::library_t>(ORALIB_MODULE);
        oralib_char* error = nullptr;
        ASSERT_EQ(function<decltype(OracleVssInitLib)>(*module, "OracleVssInitLib")(name, &error),
                  ORALIB_OK);

        std::promise<void> logged;
        std::promise<void> unloaded;
        std::thread host_thread([&] {
            bool exists = true;
            oralib_char* text = nullptr;
            EXPECT_EQ(function<decltype(OracleCheckIfAsmExist)>(*module, "OracleCheckIfAsmExist")(
                          &exists, &text),
                      ORALIB_OK);
            EXPECT_FALSE(exists);
            logged.set_value();
            unloaded.get_future().wait();
        });
        logged.get_future().wait();
        module.reset();
        EXPECT_FALSE(is_mapped());
        unloaded.set_value();
        host_thread.join();
    }
    const std::string log =
        read_file(machine.find("C:\\ProgramData\\Tarny\\ClientVault\\unload.log"));
    for (int round = 1; round <= rounds; ++round) {
        EXPECT_NE(log.find("OracleConnectionTimeout: " + std::to_string(1000 + round) + "\n"),
                  std::string::npos)
            << round;
    }
}

#ifdef EXIT_PROGRAM
TEST_F(Unload, AProcessEndsWhileItsThreadsLog) {
    for (int round = 0; round < 12; ++round) {
        ASSERT_EQ(run_command(EXIT_PROGRAM), 0);
    }
}
#endif

}  // namespace
