#include "support/process/process.h"

#include <exception>

#include <boost/thread/lock_guard.hpp>

#include "support/exc/exc.h"
#include "support/logging/logger.h"
#include "support/text/format.h"

namespace process_subsystem::process {

using guard_t = boost::lock_guard<boost::recursive_mutex>;
using util::to_string;

CWinProcess::CWinProcess(HANDLE started_process, HANDLE started_thread,
                         boost::shared_ptr<pipe::CWinPipe> input,
                         boost::shared_ptr<pipe::CWinPipe> output, std::uint32_t stop_wait,
                         bool is_detached)
    : detached(is_detached),
      stop_wait_seconds(stop_wait),
      process(started_process),
      thread(started_thread),
      stdin_pipe(std::move(input)),
      stdout_pipe(std::move(output)) {
    pid = GetProcessId(process.get());
    if (pid == 0) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Cannot get process ID", error);
    }
}

std::uint32_t CWinProcess::get_pid() {
    const guard_t guard(lock);
    return pid;
}

void CWinProcess::set_priority(std::uint32_t priority_class) {
    const guard_t guard(lock);
    if (!SetPriorityClass(process.get(), priority_class)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to set priority of process (PID: %1)", to_string(pid),
                                 error);
    }
}

std::uint32_t CWinProcess::get_exit_code() {
    const guard_t guard(lock);
    DWORD code = 0;
    if (!GetExitCodeProcess(process.get(), &code)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to get exit code for process (PID: %1)", to_string(pid),
                                 error);
    }
    if (code == STILL_ACTIVE) {
        throw exc::runtime_exc_t(std::string("Process is still active"));
    }
    return code;
}

std::uint32_t CWinProcess::wait(std::uint32_t seconds) {
    const guard_t guard(lock);
    switch (WaitForSingleObject(process.get(), seconds * 1000)) {
        case WAIT_OBJECT_0:
            return get_exit_code();
        case WAIT_TIMEOUT:
            terminate();
            throw exc::runtime_exc_t("Timed out waiting for process (PID: %1)", to_string(pid));
        case WAIT_FAILED: {
            const DWORD error = GetLastError();
            throw exc::win_sys_exc_t("Timed out waiting for process (PID: %1)", to_string(pid),
                                     error);
        }
        default:
            terminate();
            throw exc::runtime_exc_t(std::string("Timed out waiting for the process"));
    }
}

void CWinProcess::terminate() {
    const guard_t guard(lock);
    if (!TerminateProcess(process.get(), 0) && is_active()) {
        throw exc::runtime_exc_t("Failed to terminate process (PID: %1)", to_string(pid));
    }
}

bool CWinProcess::is_active() {
    const guard_t guard(lock);
    DWORD code = 0;
    if (!GetExitCodeProcess(process.get(), &code)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to get response from process (PID: %1)", to_string(pid),
                                 error);
    }
    return code == STILL_ACTIVE;
}

CWinProcess::~CWinProcess() {
    try {
        if (!detached && is_active()) {
            try {
                wait(stop_wait_seconds);
            } catch (const std::exception&) {
                terminate();
            }
        }
    } catch (const std::exception& e) {
        logging::g_unnamed_log.log_exception_thread("Failed to terminate local process", e);
    }
}

}  // namespace process_subsystem::process
