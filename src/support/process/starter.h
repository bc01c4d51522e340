// How a child process comes into being.
#pragma once

#include <string>

#include "platform/platform.h"

namespace process_subsystem::process {

class IProcessStarter {
  public:
    IProcessStarter() = default;
    IProcessStarter(const IProcessStarter&) = delete;
    IProcessStarter& operator=(const IProcessStarter&) = delete;

    /// Application and environment block may be null; the command interpreter is then the system's
    /// own. False with the last error set.
    virtual bool start(const wchar_t* application, const std::wstring& command_line,
                       const wchar_t* environment, STARTUPINFOW& startup_info,
                       PROCESS_INFORMATION& process_info) = 0;
    virtual ~IProcessStarter() = default;
};

/// Under the caller's own account.
class CNonLogonProcessStarter : public IProcessStarter {
  public:
    bool start(const wchar_t* application, const std::wstring& command_line,
               const wchar_t* environment, STARTUPINFOW& startup_info,
               PROCESS_INFORMATION& process_info) override;
};

}  // namespace process_subsystem::process
