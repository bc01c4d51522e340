// The module must leave the process whole: a host unloads it while its own threads live on, and
// loads it again to have new settings read.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <thread>

#include "oralib/oralib.h"

namespace {

namespace fs = std::filesystem;

bool is_mapped() {
    bool found = false;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* result) {
            *static_cast<bool*>(result) |= std::strstr(info->dlpi_name, "liboralib.so") != nullptr;
            return 0;
        },
        &found);
    return found;
}

std::string read_file(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Unload : public testing::Test {
  protected:
    Unload() {
        char name[] = "/tmp/oralib-unload-XXXXXX";
        folder = mkdtemp(name);
        fs::create_directories(folder / "drives/c");
        setenv("ORALIB_SANDBOX", folder.c_str(), 1);
    }
    ~Unload() override { fs::remove_all(folder); }

    void write_timeout(int seconds) const {
        char value[9];
        std::snprintf(value, sizeof value, "%08x", static_cast<unsigned>(seconds));
        std::ofstream(folder / "registry.reg")
            << "Windows Registry Editor Version 5.00\n\n"
               "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tarny\\Tarny Client Vault]\n"
               "\"OracleConnectionTimeout\"=dword:"
            << value << "\n";
    }

    fs::path folder;
};

template <typename Function>
Function* function(void* module, const char* name) {
    return reinterpret_cast<Function*>(dlsym(module, name));
}

TEST_F(Unload, ManyTimesWithAThreadThatLoggedAndLivesOn) {
    constexpr int rounds = 60;
    for (int round = 1; round <= rounds; ++round) {
        write_timeout(1000 + round);
        void* const module = dlopen(ORALIB_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << dlerror();
        oralib_char* error = nullptr;
        ASSERT_EQ(
            function<decltype(OracleVssInitLib)>(module, "OracleVssInitLib")(u"unload.log", &error),
            ORALIB_OK);

        std::promise<void> logged;
        std::promise<void> unloaded;
        std::thread host_thread([&] {
            bool exists = true;
            oralib_char* text = nullptr;
            EXPECT_EQ(function<decltype(OracleCheckIfAsmExist)>(module, "OracleCheckIfAsmExist")(
                          &exists, &text),
                      ORALIB_OK);
            EXPECT_FALSE(exists);
            logged.set_value();
            unloaded.get_future().wait();
        });
        logged.get_future().wait();
        ASSERT_EQ(dlclose(module), 0);
        EXPECT_FALSE(is_mapped());
        unloaded.set_value();
        host_thread.join();
    }
    const std::string log = read_file(folder / "drives/c/ProgramData/Tarny/ClientVault/unload.log");
    for (int round = 1; round <= rounds; ++round) {
        EXPECT_NE(log.find("OracleConnectionTimeout: " + std::to_string(1000 + round) + "\n"),
                  std::string::npos)
            << round;
    }
}

}  // namespace
