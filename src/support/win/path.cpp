#include "support/win/path.h"

#include <algorithm>
#include <exception>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "platform/paths.h"
#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/win/file.h"
#include "support/win/impersonation.h"

namespace win {

namespace {

constexpr wchar_t separators[] = L"\\/";

bool is_separator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

bool begins_with(const std::wstring& text, const wchar_t* prefix) {
    return text.rfind(prefix, 0) == 0;
}

template <typename Text>
void split(const Text& path, Text& folder, Text& name) {
    using char_t = typename Text::value_type;
    const char_t both[] = {char_t('\\'), char_t('/'), char_t(0)};
    const auto at = path.find_last_of(both);
    const Text whole = path;
    folder = at == Text::npos ? Text() : whole.substr(0, at);
    name = at == Text::npos ? whole : whole.substr(at + 1);
}

// boost::filesystem's rule on Windows: a second path with a root stands alone.
template <typename Text>
Text join(const Text& a, const Text& b) {
    using char_t = typename Text::value_type;
    const auto separator = [](char_t c) { return c == char_t('\\') || c == char_t('/'); };
    Text result;
    if (!b.empty() && (separator(b.front()) || (b.size() > 1 && b[1] == char_t(':')))) {
        result = b;
    } else {
        result = a;
        if (!result.empty() && !b.empty() && !separator(result.back())) {
            result += char_t('\\');
        }
        result += b;
    }
    std::replace(result.begin(), result.end(), char_t('/'), char_t('\\'));
    return result;
}

// The position behind a server and a share that begin at `begin`.
std::wstring::size_type behind_share(const std::wstring& path, std::wstring::size_type begin) {
    for (int component = 0; component < 2; ++component) {
        begin = path.find_first_of(separators, begin);
        if (begin == std::wstring::npos) {
            return path.size();
        }
        ++begin;
    }
    return begin;
}

std::wstring::size_type behind_drive(const std::wstring& path, std::wstring::size_type begin) {
    if (path.size() > begin + 1 && path[begin + 1] == L':') {
        begin += 2;
        if (path.size() > begin && is_separator(path[begin])) {
            ++begin;
        }
    }
    return begin;
}

// Where the folders that can be made begin.
std::wstring::size_type first_folder(const std::wstring& path) {
    if (begins_with(path, L"\\\\?\\UNC\\") || begins_with(path, L"//?/UNC/")) {
        return behind_share(path, 8);
    }
    if (begins_with(path, L"\\\\?\\") || begins_with(path, L"//?/")) {
        return behind_drive(path, 4);
    }
    if (path.size() > 1 && is_separator(path[0]) && is_separator(path[1])) {
        return behind_share(path, 2);
    }
    return behind_drive(path, 0);
}

}  // namespace

bool path_exists(const std::wstring& path) {
    const auto scope = make_file_scope(path);
    return boost::filesystem::exists(platform::native_path(path));
}

bool path_exists(const std::string& path) {
    return path_exists(util::from_ansi(path));
}

bool folder_exists(const std::wstring& path) {
    const auto scope = make_file_scope(path);
    return boost::filesystem::is_directory(platform::native_path(path));
}

bool folder_exists(const std::string& path) {
    return folder_exists(util::from_ansi(path));
}

std::uint64_t file_size(const std::wstring& path) {
    const auto scope = make_file_scope(path);
    return boost::filesystem::file_size(platform::native_path(path));
}

std::vector<std::wstring> list_files(const std::wstring& folder) {
    const auto scope = make_file_scope(folder);
    std::vector<std::wstring> files;
    for (const auto& entry : boost::filesystem::directory_iterator(platform::native_path(folder))) {
        if (boost::filesystem::is_regular_file(entry.status())) {
            files.push_back(join_path(folder, platform::wide_name(entry.path().filename())));
        }
    }
    return files;
}

void remove_file(const std::wstring& path) {
    const auto scope = make_file_scope(path);
    boost::filesystem::remove(platform::native_path(path));
}

void remove_file(const std::string& path) {
    remove_file(util::from_ansi(path));
}

void move_file(const std::wstring& from, const std::wstring& to) {
    const auto scope = make_file_scope(from);
    if (!MoveFileExW(from.c_str(), to.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to move file [%1] to [%2].", util::to_ansi_safe(from),
                                 util::to_ansi_safe(to), error);
    }
}

void remove_leftover(const std::wstring& path) {
    try {
        remove_file(path);
    } catch (const std::exception& e) {
        logging::g_unnamed_log.log_what(e);
    }
}

void create_empty_file(const std::wstring& path) {
    win_file_t::create_or_open(path, OPEN_ALWAYS);
}

void create_directories(const std::wstring& path) {
    const auto scope = make_file_scope(path);
    std::wstring::size_type end = first_folder(path);
    while ((end = path.find_first_of(separators, end)) != std::wstring::npos) {
        const std::wstring folder = path.substr(0, end++);
        if (folder.empty() || boost::filesystem::is_directory(platform::native_path(folder))) {
            continue;
        }
        if (!CreateDirectoryW(folder.c_str(), nullptr)) {
            const DWORD error = GetLastError();
            if (error != ERROR_ALREADY_EXISTS) {
                throw exc::win_sys_exc_t("Failed to create directory [%1].",
                                         util::to_ansi_safe(folder), error);
            }
        }
    }
}

std::wstring get_extension(const std::wstring& path) {
    const auto dot = path.find_last_of(L"./\\");
    return dot == std::wstring::npos || path[dot] != L'.' ? std::wstring() : path.substr(dot);
}

std::wstring replace_extension(const std::wstring& path, const std::wstring& extension) {
    return path.substr(0, path.size() - get_extension(path).size()) + extension;
}

std::wstring get_root_path(const std::wstring& path) {
    return path.size() > 1 && path[1] == L':' ? path.substr(0, 2) + L'\\' : std::wstring();
}

void split_path(const std::wstring& path, std::wstring& folder, std::wstring& name) {
    split(path, folder, name);
}

void split_path(const std::string& path, std::string& folder, std::string& name) {
    split(path, folder, name);
}

std::wstring join_path(const std::wstring& a, const std::wstring& b) {
    return join(a, b);
}

std::string join_path(const std::string& a, const std::string& b) {
    return join(a, b);
}

std::wstring get_temp_folder() {
    wchar_t buffer[MAX_PATH + 1] = {};
    const DWORD length = GetTempPathW(MAX_PATH + 1, buffer);
    if (length == 0 || length > MAX_PATH) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t(
            "Failed to retrieve the path of the directory designated for temporary files.", error);
    }
    return std::wstring(buffer, length);
}

std::wstring get_common_appdata_folder() {
    wchar_t buffer[MAX_PATH] = {};
    const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, buffer);
    if (result != S_OK) {
        throw exc::com_exc_t(result,
                             "Cannot get the path to the system directory containing application "
                             "data for all users");
    }
    return buffer;
}

std::wstring make_guid_text() {
    GUID guid;
    const HRESULT result = CoCreateGuid(&guid);
    if (result != S_OK) {
        throw exc::com_exc_t(result, "Cannot create a GUID.");
    }
    RPC_WSTR buffer = nullptr;
    if (UuidToStringW(&guid, &buffer) != RPC_S_OK) {
        throw exc::com_exc_t(E_OUTOFMEMORY, "Cannot write out a GUID.");
    }
    const std::wstring text = reinterpret_cast<const wchar_t*>(buffer);
    RpcStringFreeW(&buffer);
    return L"{" + text + L"}";
}

}  // namespace win
