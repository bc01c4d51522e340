#include "machine.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>
#include <thread>

#include "sandbox/native.h"
#include "sandbox/paths.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/wait.h>
#endif

namespace fs = std::filesystem;

namespace {

// What a test may add to on a drive that is not its own.
std::set<fs::path> entries_of(const machine_t& machine) {
    std::set<fs::path> entries;
    for (const fs::path& folder :
         {machine.drive(), machine.drive() / "ProgramData", machine.drive() / "Windows/Temp"}) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            entries.insert(entry.path());
        }
    }
    return entries;
}

}  // namespace

machine_t::machine_t() : folder(make_temporary_folder()) {
    sandbox::set_environment("ORALIB_SANDBOX", folder.u8string());
    prepare();
}

machine_t::~machine_t() {
    if (!m_kept || !is_layered()) {
        clear();
        std::error_code ignored;
        fs::remove(folder, ignored);
    }
}

void machine_t::reset() {
    clear();
    prepare();
}

void machine_t::prepare() {
    fs::create_directories(drive() / "Windows/Temp");
    fs::create_directories(drive() / "ProgramData");
    m_found = entries_of(*this);
}

// A file that somebody still has open stays on Windows.
void machine_t::clear() const {
    std::error_code ignored;
    for (const fs::path& entry : entries_of(*this)) {
        if (m_found.count(entry) == 0) {
            fs::remove_all(entry, ignored);
        }
    }
    for (const auto& entry : fs::directory_iterator(folder)) {
        fs::remove_all(entry.path(), ignored);
    }
}

bool machine_t::is_layered() {
#ifdef _WIN32
    return false;
#else
    return true;
#endif
}

fs::path machine_t::drive(char letter) const {
    return sandbox::drive_folder(folder, letter);
}

fs::path machine_t::find(const std::string& path) const {
    return sandbox::native_path(folder, path);
}

void machine_t::write_registry(const std::string& sections) const {
    write_file(folder / "registry.reg", "Windows Registry Editor Version 5.00\n\n" + sections);
    refresh();
}

void machine_t::write_host(const std::string& facts) const {
    write_file(folder / "host.ini", "[host]\n" + facts);
}

void machine_t::add_child(const std::string& path) const {
    const fs::path target = find(path);
    fs::create_directories(target.parent_path());
    fs::remove(target);
#ifdef _WIN32
    if (target.extension() == ".bat") {
        add_child(path + ".exe");
        write_file(target, "@\"%~dp0" + target.filename().u8string() + ".exe\" %*\r\n");
        return;
    }
#endif
    fs::copy_file(CHILD_PROGRAM, target);
}

void machine_t::refresh() const {
    sandbox::use_registry(folder);
}

fs::path make_temporary_folder() {
    std::random_device random;
    for (;;) {
        const fs::path folder = fs::temp_directory_path() / ("oralib-" + std::to_string(random()));
        if (fs::create_directory(folder)) {
            return folder;
        }
    }
}

void remove_folder(const fs::path& folder) {
    constexpr int attempts = 100;
    std::error_code error;
    for (int attempt = 1; attempt < attempts; ++attempt) {
        fs::remove_all(folder, error);
        if (!error) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    fs::remove_all(folder);
}

std::size_t count_handles() {
#ifdef _WIN32
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
#else
    const fs::directory_iterator open("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(fs::begin(open), fs::end(open)));
#endif
}

int run_command(const std::string& command) {
    const int status = std::system(command.c_str());
#ifdef _WIN32
    return status;
#else
    return WEXITSTATUS(status);
#endif
}

std::string read_file(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void write_file(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}
