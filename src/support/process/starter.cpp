#include "support/process/starter.h"

namespace process_subsystem::process {

bool CNonLogonProcessStarter::start(const wchar_t* application, const std::wstring& command_line,
                                    const wchar_t* environment, STARTUPINFOW& startup_info,
                                    PROCESS_INFORMATION& process_info) {
    std::wstring writable = command_line;  // CreateProcessW may write to it
    return CreateProcessW(application, writable.data(), nullptr, nullptr, TRUE,
                          CREATE_NO_WINDOW | CREATE_UNICODE_ENVIRONMENT,
                          const_cast<wchar_t*>(environment), nullptr, &startup_info,
                          &process_info) != 0;
}

}  // namespace process_subsystem::process
