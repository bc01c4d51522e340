#include "posix_machine.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <boost/filesystem.hpp>

namespace fs = boost::filesystem;

namespace {

struct machine : testing::Environment {
    machine() {
        char pattern[] = "/tmp/oralib-platform-XXXXXX";
        directory = mkdtemp(pattern);
        setenv("ORALIB_SANDBOX", directory.c_str(), 1);
        fs::create_directories(directory + "/drives/c/Windows/Temp");
        fs::create_directories(directory + "/shares/srv/data");
    }
    ~machine() override { fs::remove_all(directory); }
    std::string directory;
};

const machine* const g_machine =
    static_cast<machine*>(testing::AddGlobalTestEnvironment(new machine));

}  // namespace

std::string machine_directory() {
    return g_machine->directory;
}

void write_machine_file(const std::string& name, const std::string& content) {
    const fs::path path = machine_directory() + "/" + name;
    fs::create_directories(path.parent_path());
    std::ofstream(path.string(), std::ios::binary) << content;
    if (content.compare(0, 2, "#!") == 0) fs::permissions(path, fs::add_perms | fs::owner_exe);
}

std::string read_machine_file(const std::string& name) {
    std::ifstream file(machine_directory() + "/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}
