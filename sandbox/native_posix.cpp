#include "sandbox/native.h"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace sandbox {

void sleep_microseconds(long microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

void sleep_until(std::chrono::steady_clock::time_point end) {
    std::this_thread::sleep_until(end - std::chrono::milliseconds(2));
    while (std::chrono::steady_clock::now() < end) {
    }
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

void set_environment(const char* name, const std::string& value) {
    if (value.empty()) {
        unsetenv(name);
    } else {
        setenv(name, value.c_str(), 1);
    }
}

std::filesystem::path drive_folder(const std::filesystem::path& sandbox, char letter) {
    return sandbox / "drives" / std::string(1, letter);
}

void use_registry(const std::filesystem::path&) {}

std::filesystem::path stand_in_folder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "sandbox";
}

namespace {

void write_script(const std::filesystem::path& file, const std::string& commands) {
    std::ofstream(file, std::ios::binary) << "#!/bin/sh\n" << commands;
    std::filesystem::permissions(file, std::filesystem::perms(0755));
}

// For the shell between single quotes.
std::string shell_text(const std::string& text) {
    return "'" + std::regex_replace(text, std::regex("'"), "'\\''") + "'";
}

}  // namespace

void write_program(const std::filesystem::path& file, const std::string& line) {
    write_script(file, "printf '%s\\r\\n' " + shell_text(line) + "\n");
}

void write_command_file(const std::filesystem::path& file, const std::vector<std::string>& lines) {
    std::string commands;
    for (const std::string& line : lines) {
        commands += "printf '%s\\r\\n' " +
                    std::regex_replace(shell_text(line), std::regex("%db%"), "'\"$4\"'") + "\n";
    }
    write_script(file, commands);
}

long process_id() {
    return getpid();
}
long thread_id() {
    return syscall(SYS_gettid);
}

void sleep_forever() {
    for (;;) {
        pause();
    }
}

void end_process() {
    _exit(1);
}

library_t::library_t(const std::filesystem::path& file)
    : m_library(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!m_library) {
        throw std::runtime_error(dlerror());
    }
}

library_t::~library_t() {
    dlclose(m_library);
}

void* library_t::find(const char* name) const {
    void* const address = dlsym(m_library, name);
    if (!address) {
        throw std::runtime_error(dlerror());
    }
    return address;
}

void appender_t::open(const std::filesystem::path& file) {
    m_file = ::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
}

void appender_t::write(const std::string& text) const {
    const auto written = ::write(static_cast<int>(m_file), text.data(), text.size());
    static_cast<void>(written);
}

appender_t::~appender_t() {
    if (is_open()) {
        ::close(static_cast<int>(m_file));
    }
}

}  // namespace sandbox
