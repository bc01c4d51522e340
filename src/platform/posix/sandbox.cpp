#include "platform/posix/sandbox.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "platform/posix/unicode.h"

extern char** environ;

namespace platform {

namespace {

std::mutex g_environment_mutex;
parsed_file<ini_t> g_host("host.ini", parse_ini);

std::string trimmed(const std::string& text) {
    const char* const blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool same_variable(const std::string& entry, const std::string& name) {
    return entry.size() > name.size() && entry[name.size()] == '=' &&
           std::equal(name.begin(), name.end(), entry.begin(), [](char a, char b) {
               const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? c - 32 : c; };
               return upper(a) == upper(b);
           });
}

const std::string* find_in(const ini_t& ini, const char* section, const std::string& key) {
    const auto found_section = ini.find(section);
    if (found_section == ini.end()) return nullptr;
    const auto found = found_section->second.find(key);
    return found == found_section->second.end() ? nullptr : &found->second;
}

bool find_variable(const std::string& name, std::string& value) {
    if (read_environment(name, value)) return true;
    // Every machine has this one.
    if (!same_variable("SystemRoot=", name)) return fail(ERROR_ENVVAR_NOT_FOUND);
    value = "C:\\Windows";
    return true;
}

// Puts an environment text out by the rules that GetEnvironmentVariable has for its buffer.
template <typename Text, typename Char>
DWORD give(const Text& text, Char* buffer, DWORD size) {
    if (size <= text.size()) return static_cast<DWORD>(text.size() + 1);
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = 0;
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(text.size());
}

}  // namespace

bool read_environment(const std::string& name, std::string& value) {
    const std::lock_guard<std::mutex> lock(g_environment_mutex);
    if (const char* exact = getenv(name.c_str())) {
        value = exact;
        return true;
    }
    for (char** entry = environ; entry && *entry; ++entry) {
        if (same_variable(*entry, name)) {
            value = *entry + name.size() + 1;
            return true;
        }
    }
    return false;
}

std::vector<std::string> environment_entries() {
    const std::lock_guard<std::mutex> lock(g_environment_mutex);
    std::vector<std::string> result;
    for (char** entry = environ; entry && *entry; ++entry) {
        result.push_back(*entry);
    }
    return result;
}

std::string sandbox_directory() {
    std::string directory;
    read_environment("ORALIB_SANDBOX", directory);
    return directory;
}

std::string read_native_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string file_stamp(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return "";
    std::ostringstream stamp;
    stamp << path << ' ' << status.st_ino << ' ' << status.st_size << ' ' << status.st_mtim.tv_sec
          << ' ' << status.st_mtim.tv_nsec;
    return stamp.str();
}

std::shared_ptr<const ini_t> parse_ini(const std::string& content) {
    auto result = std::make_shared<ini_t>();
    std::istringstream lines(content);
    std::string section;
    for (std::string line; std::getline(lines, line);) {
        line = trimmed(line);
        if (line.empty() || line[0] == ';' || line[0] == '#') continue;
        const std::size_t equals = line.find('=');
        if (line.front() == '[' && line.back() == ']') {
            section = line.substr(1, line.size() - 2);
            (*result)[section];
        } else if (equals != std::string::npos) {
            (*result)[section][trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
        }
    }
    return result;
}

std::string host_text(const char* key, const char* fallback) {
    const auto ini = g_host.get();
    const std::string* value = find_in(*ini, "host", key);
    return value ? *value : fallback;
}

long host_number(const char* key, long fallback) {
    const std::string text = host_text(key, "");
    char* end = nullptr;
    const bool hexadecimal = text.compare(0, 2, "0x") == 0;
    const long number = strtol(text.c_str(), &end, hexadecimal ? 16 : 10);
    return text.empty() || *end ? fallback : number;
}

std::string drive_kind(char letter) {
    const auto ini = g_host.get();
    const std::string* value = find_in(*ini, "drives", std::string(1, letter));
    return value ? *value : "";
}

}  // namespace platform

using namespace platform;

int _putenv(const char* assignment) {
    if (failing(__func__)) return -1;
    const std::string text = assignment;
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) return -1;
    const std::lock_guard<std::mutex> lock(g_environment_mutex);
    const std::string name = text.substr(0, equals);
    if (equals + 1 == text.size()) return unsetenv(name.c_str());
    return setenv(name.c_str(), text.c_str() + equals + 1, 1);
}

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size) {
    std::string value;
    if (failing(__func__) || !find_variable(narrow_ansi(name), value)) return 0;
    return give(widen_ansi(value), buffer, size);
}
