#include "platform/system.h"

#include <cstring>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/thread.hpp>

#include "platform/platform.h"

namespace platform {

const char* const client_library_name = "OCI.dll";

// Not by the runtime's function, which starts its child at any moment, also when another thread has
// just made a pipe that its own child is to inherit.
int run_system(const std::string& ansi_command) {
    // By its full path: else one in the program's folder or the current one would come first.
    char interpreter[MAX_PATH];
    const UINT length = GetSystemDirectoryA(interpreter, MAX_PATH);
    constexpr char name[] = "\\cmd.exe";
    if (length == 0 || length > MAX_PATH - sizeof name) {
        return -1;
    }
    std::memcpy(interpreter + length, name, sizeof name);
    std::string line = "cmd.exe /c " + ansi_command;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    {
        const boost::lock_guard<boost::mutex> lock(process_start_mutex());
        if (!CreateProcessA(interpreter, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                            &startup, &started)) {
            return -1;
        }
    }
    CloseHandle(started.hThread);
    WaitForSingleObject(started.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(started.hProcess, &code);
    CloseHandle(started.hProcess);
    return static_cast<int>(code);
}

bool is_process_ending() {
    using function_t = BOOLEAN(NTAPI*)();
    static const auto function = reinterpret_cast<function_t>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress"));
    return function && function();
}

boost::mutex& process_start_mutex() {
    static boost::mutex mutex;
    return mutex;
}

int create_file(const std::wstring& path) {
    return _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT,
                  _S_IREAD | _S_IWRITE);
}

void close_file(int descriptor) {
    _close(descriptor);
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
