#include "support/process/starter.h"

#include <array>

namespace process_subsystem::process {

namespace {

// The system's own: without its path, one in the program's folder or the current one would come
// first, and run with the rights of this process. Empty, with the last error set, where it fails.
std::wstring interpreter_path() {
    std::array<wchar_t, MAX_PATH> folder{};
    const UINT length = GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return length == 0 || length >= folder.size() ? std::wstring()
                                                  : folder.data() + std::wstring(L"\\cmd.exe");
}

}  // namespace

bool CNonLogonProcessStarter::start(const wchar_t* application, const std::wstring& command_line,
                                    const wchar_t* environment, STARTUPINFOW& startup_info,
                                    PROCESS_INFORMATION& process_info) {
    std::wstring interpreter;
    if (!application && command_line.rfind(L"cmd.exe ", 0) == 0) {
        interpreter = interpreter_path();
        if (interpreter.empty()) {
            return false;
        }
        application = interpreter.c_str();
    }
    std::wstring writable = command_line;  // CreateProcessW may write to it
    return CreateProcessW(application, writable.data(), nullptr, nullptr, TRUE,
                          CREATE_NO_WINDOW | CREATE_UNICODE_ENVIRONMENT,
                          const_cast<wchar_t*>(environment), nullptr, &startup_info,
                          &process_info) != 0;
}

}  // namespace process_subsystem::process
