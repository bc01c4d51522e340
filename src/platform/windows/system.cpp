#include "platform/system.h"

#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include "platform/platform.h"

namespace platform {

const char* const client_library_name = "OCI.dll";

int run_system(const std::string& ansi_command) {
    return std::system(ansi_command.c_str());
}

int create_file(const std::wstring& path) {
    return _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT,
                  _S_IREAD | _S_IWRITE);
}

std::array<std::uint16_t, 4> module_version() {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(&module_version), &module);
    // RT_VERSION is a text of the other width unless UNICODE is set.
    const HRSRC found =
        FindResourceW(module, MAKEINTRESOURCEW(VS_VERSION_INFO), MAKEINTRESOURCEW(16));
    const HGLOBAL loaded = found ? LoadResource(module, found) : nullptr;
    if (!loaded) {
        return {};
    }
    // VS_VERSIONINFO: three words, the key "VS_VERSION_INFO" and padding, then the fixed part.
    constexpr std::size_t fixed_part = 40;
    VS_FIXEDFILEINFO info = {};
    if (SizeofResource(module, found) < fixed_part + sizeof info) {
        return {};
    }
    std::memcpy(&info, static_cast<const char*>(LockResource(loaded)) + fixed_part, sizeof info);
    return {HIWORD(info.dwFileVersionMS), LOWORD(info.dwFileVersionMS),
            HIWORD(info.dwFileVersionLS), LOWORD(info.dwFileVersionLS)};
}

}  // namespace platform
