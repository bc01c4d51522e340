// A machine of the test's own: an empty drive C: and whatever registry and facts the test writes.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace support_test {

class Machine : public testing::Test {
  protected:
    Machine() {
        std::string name = (std::filesystem::temp_directory_path() / "oralib-XXXXXX").string();
        folder = mkdtemp(name.data());
        drive = folder / "drives/c";
        std::filesystem::create_directories(drive / "Windows/Temp");
        setenv("ORALIB_SANDBOX", folder.c_str(), 1);
    }
    ~Machine() override { std::filesystem::remove_all(folder); }

    void write_registry(const std::string& keys) const {
        write(folder / "registry.reg", "Windows Registry Editor Version 5.00\n\n" + keys);
    }
    void write_host(const std::string& facts) const {
        write(folder / "host.ini", "[host]\n" + facts);
    }
    static void write(const std::filesystem::path& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }
    /// A program of the machine.
    void write_script(const std::string& name, const std::string& body) const {
        const auto path = drive / name;
        write(path, "#!/bin/sh\n" + body);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }
    static std::string read(const std::filesystem::path& path) {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    std::filesystem::path folder;
    std::filesystem::path drive;
};

/// what() of what `body` throws; "nothing" if it throws nothing.
template <typename Body>
std::string failure_of(const Body& body) {
    try {
        body();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "nothing";
}

}  // namespace support_test
