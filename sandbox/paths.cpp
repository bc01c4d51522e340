#include "sandbox/paths.h"

#include <algorithm>
#include <system_error>

#include "sandbox/native.h"

namespace sandbox {

namespace fs = std::filesystem;

namespace {

fs::path join_ignoring_case(const fs::path& folder, const std::string& name) {
    const fs::path exact = folder / fs::u8path(name);
    std::error_code error;
    if (fs::exists(exact, error)) {
        return exact;
    }
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (equal_ignoring_case(entry.path().filename().u8string(), name)) {
            return entry.path();
        }
    }
    return exact;
}

std::string file_name_of(const std::string& sid) {
    static const char digits[] = "0123456789ABCDEF";
    std::string name;
    for (const char c : sid) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || std::string("\\/:*?\"<>|%").find(c) != std::string::npos) {
            name += {'%', digits[byte >> 4], digits[byte & 15]};
        } else {
            name += c;
        }
    }
    return name + ".db";
}

}  // namespace

std::string to_upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return text;
}

bool equal_ignoring_case(const std::string& a, const std::string& b) {
    return a.size() == b.size() && to_upper(a) == to_upper(b);
}

bool is_asm_path(const std::string& path) {
    return !path.empty() && path[0] == '+';
}

fs::path native_path(const fs::path& sandbox, const std::string& path) {
    fs::path result = sandbox;
    std::string rest = path;
    if (is_asm_path(path)) {
        result /= "oracle/asm";
        rest = path.substr(1);
    } else if (path.size() >= 2 && path[1] == ':') {
        result = drive_folder(sandbox, static_cast<char>(to_upper(path)[0] - 'A' + 'a'));
        rest = path.substr(2);
    } else if (path.compare(0, 2, "\\\\") == 0) {
        result /= "shares";
    }
    for (std::size_t begin = 0; begin < rest.size();) {
        const std::size_t end = std::min(rest.find_first_of("\\/", begin), rest.size());
        if (end > begin) {
            result = join_ignoring_case(result, rest.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return result;
}

fs::path instance_file(const fs::path& sandbox, const std::string& sid) {
    return join_ignoring_case(sandbox / "oracle", file_name_of(sid));
}

}  // namespace sandbox
