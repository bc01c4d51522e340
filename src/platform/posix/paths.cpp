#include "platform/paths.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cwchar>
#include <vector>

#include "platform/posix/native_name.h"
#include "platform/posix/sandbox.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

bool is_separator(wchar_t unit) {
    return unit == L'\\' || unit == L'/';
}

bool exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

// The entry of `folder` that has this name but for case, else the name itself.
std::string resolve(const std::string& folder, const std::wstring& name) {
    const std::string exact = to_utf8(name);
    if (exists(folder + exact)) return exact;
    std::string result = exact;
    if (DIR* const entries = opendir(folder.empty() ? "." : folder.c_str())) {
        while (const dirent* entry = readdir(entries)) {
            if (same_name(from_utf8(entry->d_name), name)) result = entry->d_name;
        }
        closedir(entries);
    }
    return result;
}

// Where nothing can exist, so that an absent machine looks like one without drives.
std::string machine_folder(const char* name) {
    const std::string directory = sandbox_directory();
    return (directory.empty() ? "/dev/null" : directory) + "/" + name + "/";
}

std::vector<std::wstring> components(const std::wstring& path, std::size_t at) {
    std::vector<std::wstring> result;
    while (at < path.size()) {
        std::size_t end = at;
        while (end < path.size() && !is_separator(path[end])) {
            ++end;
        }
        const std::wstring name = path.substr(at, end - at);
        if (name == L"..") {
            if (!result.empty()) result.pop_back();
        } else if (!name.empty() && name != L".") {
            result.push_back(name);
        }
        at = end + 1;
    }
    return result;
}

// The length of the prefix that turns the system's path parsing off, and what it stands for.
std::size_t skip_prefix(const std::wstring& path, bool& unc) {
    unc = false;
    if (path.compare(0, 4, L"\\\\?\\") != 0 && path.compare(0, 4, L"//?/") != 0) return 0;
    unc = path.size() > 7 && same_name(path.substr(4, 3), L"UNC") && is_separator(path[7]);
    return unc ? 8 : 4;
}

}  // namespace

native_name to_native(const std::wstring& path) {
    bool unc = false;
    std::size_t at = skip_prefix(path, unc);
    if (at == 0 && path.size() > 1 && is_separator(path[0]) && is_separator(path[1])) {
        unc = true;
        at = 2;
    }
    native_name result;
    if (unc) {
        result.path = machine_folder("shares");
    } else if (path.size() > at + 1 && path[at + 1] == L':') {
        result.path = machine_folder("drives") + static_cast<char>((path[at] | 0x20) & 0x7F) + "/";
        at += 2;
    } else if (at < path.size() && is_separator(path[at])) {
        result.path = "/";
    }
    const auto names = components(path, at);
    result.names_folder = !names.empty() && is_separator(path.back());
    std::string exact = result.path;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i].find_first_of(L"<>:\"|?*") != std::wstring::npos) result.valid = false;
        exact += (i > 0 ? "/" : "") + to_utf8(names[i]);
    }
    if (exists(exact)) {
        result.path = exact;
        return result;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        result.path += resolve(result.path, names[i]);
        if (i + 1 < names.size()) result.path += '/';
    }
    return result;
}

boost::filesystem::path native_path(const std::wstring& path) {
    return to_native(path).path;
}

std::wstring wide_name(const boost::filesystem::path& name) {
    return from_utf8(name.native());
}

}  // namespace platform
