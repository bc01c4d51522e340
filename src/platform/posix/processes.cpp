#include "platform/posix/processes.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cwchar>

#include "platform/posix/command_line.h"
#include "platform/posix/file_object.h"
#include "platform/posix/native_name.h"
#include "platform/posix/sandbox.h"
#include "platform/posix/spawn.h"
#include "platform/posix/threads.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

class process_object : public object {
  public:
    process_object() : object("processes") {}
    ~process_object() override { reap_monitor(started.monitor); }
    int wait_descriptor() const override { return started.status.get(); }
    bool take() override {
        const std::lock_guard<std::mutex> lock(mutex);
        if (ended) return true;
        if (!wait_readable(started.status.get(), 0)) return false;
        const int status = read_status(started.status.get());
        const bool by_us = terminated && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        exit_code = by_us ? terminate_code : exit_code_of(status);
        return ended = true;
    }

    spawned started;
    std::mutex mutex;
    bool ended = false;
    bool terminated = false;
    DWORD terminate_code = 0;
    DWORD exit_code = STILL_ACTIVE;
    DWORD priority_class = NORMAL_PRIORITY_CLASS;
};

std::vector<std::string> child_environment(const void* block, bool wide) {
    if (!block) return environment_entries();
    std::vector<std::string> result;
    if (wide) {
        for (auto* entry = static_cast<const wchar_t*>(block); *entry;
             entry += std::wcslen(entry) + 1) {
            result.push_back(narrow_ansi(entry));
        }
    } else {
        for (auto* entry = static_cast<const char*>(block); *entry;
             entry += std::char_traits<char>::length(entry) + 1) {
            result.push_back(entry);
        }
    }
    // The child is on the same machine.
    result.push_back("ORALIB_SANDBOX=" + sandbox_directory());
    return result;
}

// Fills in what is to run; false with the last error set.
bool choose_program(LPCWSTR application, const std::wstring& line, spawn_request& request,
                    descriptor_owner& output) {
    const std::vector<std::wstring> words = split_words(line);
    std::wstring program = application ? application : words.empty() ? L"" : words[0];
    const bool searched = program.find_first_of(L"\\/") == std::wstring::npos;
    if (searched) {
        if (program.find(L'.') == std::wstring::npos) program += L".exe";
        program = L"C:\\Windows\\System32\\" + program;
    }
    if (same_name(program, L"C:\\Windows\\System32\\cmd.exe") && words.size() > 1 &&
        same_name(words[1], L"/C")) {
        const std::size_t option = fold(line).find(L"/C", words[0].size());
        interpret_command(line.substr(option + 2), request, output);
        return true;
    }
    const native_name name = to_native(program);
    struct stat status;
    if (stat(name.path.c_str(), &status) != 0) {
        return fail(searched ? ERROR_FILE_NOT_FOUND : windows_error(errno, name));
    }
    if (!S_ISREG(status.st_mode)) return fail(ERROR_ACCESS_DENIED);
    request.program = name.path;
    for (const std::wstring& word : words) {
        request.arguments.push_back(narrow_ansi(word));
    }
    return true;
}

// A handle reaches the child as a standard one only if it is inherited.
int standard_descriptor(HANDLE handle, bool inherits) {
    const auto target = find_object(handle);
    return target && inherits && target->inheritable ? target->descriptor() : -1;
}

bool create_pipe_objects(DWORD size, std::shared_ptr<file_object>& read_end,
                         std::shared_ptr<file_object>& write_end) {
    constexpr DWORD default_size = 4096;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return fail(windows_error(errno));
    read_end = std::make_shared<file_object>("pipes", ends[0], true, false);
    write_end = std::make_shared<file_object>("pipes", ends[1], false, true);
    fcntl(ends[1], F_SETPIPE_SZ, size ? size : default_size);
    return true;
}

int nice_value(DWORD priority_class) {
    switch (priority_class) {
        case IDLE_PRIORITY_CLASS:
            return 19;
        case BELOW_NORMAL_PRIORITY_CLASS:
            return 10;
        case ABOVE_NORMAL_PRIORITY_CLASS:
            return -5;
        case HIGH_PRIORITY_CLASS:
            return -10;
        case REALTIME_PRIORITY_CLASS:
            return -20;
        default:
            return 0;
    }
}

}  // namespace

}  // namespace platform

using namespace platform;

BOOL CreatePipe(PHANDLE read_end, PHANDLE write_end, LPSECURITY_ATTRIBUTES attributes, DWORD size) {
    if (failing(__func__)) return FALSE;
    std::shared_ptr<file_object> reader, writer;
    if (!create_pipe_objects(size, reader, writer)) return FALSE;
    reader->inheritable = writer->inheritable = attributes && attributes->bInheritHandle;
    *read_end = add_handle(reader);
    *write_end = add_handle(writer);
    return TRUE;
}

BOOL PeekNamedPipe(HANDLE pipe, LPVOID buffer, DWORD, LPDWORD, LPDWORD available, LPDWORD) {
    if (failing(__func__)) return FALSE;
    if (buffer || !available) return fail(ERROR_INVALID_PARAMETER);
    const auto target = find<file_object>(pipe);
    if (!target) return FALSE;
    // Asked for its end first: what comes meanwhile is not lost.
    pollfd end = {target->descriptor(), POLLIN, 0};
    int count = 0;
    if (poll(&end, 1, 0) < 0 || ioctl(target->descriptor(), FIONREAD, &count) != 0) {
        return fail(windows_error(errno));
    }
    if (count == 0 && (end.revents & POLLHUP)) return fail(ERROR_BROKEN_PIPE);
    *available = static_cast<DWORD>(count);
    return TRUE;
}

BOOL CreateProcessW(LPCWSTR application, LPWSTR command_line, LPSECURITY_ATTRIBUTES,
                    LPSECURITY_ATTRIBUTES, BOOL inherit_handles, DWORD flags, LPVOID environment,
                    LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information) {
    if (failing(__func__)) return FALSE;
    if (folder || (!application && !command_line)) return fail(ERROR_INVALID_PARAMETER);
    spawn_request request = {};
    descriptor_owner output;
    const descriptor_owner nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!choose_program(application, command_line ? command_line : application, request, output)) {
        return FALSE;
    }
    request.environment = child_environment(environment, flags & CREATE_UNICODE_ENVIRONMENT);
    const HANDLE handles[] = {startup->hStdInput, startup->hStdOutput, startup->hStdError};
    for (int i = 0; i < 3; ++i) {
        const bool given = (startup->dwFlags & STARTF_USESTDHANDLES) != 0;
        const int descriptor = given ? standard_descriptor(handles[i], inherit_handles) : i;
        request.standard[i] = descriptor < 0 ? nothing.get() : descriptor;
    }
    if (output.get() >= 0) request.standard[1] = output.get();
    if (inherit_handles) request.inherited = inheritable_descriptors();

    const auto process = std::make_shared<process_object>();
    if (const int error = spawn(request, process->started)) {
        // What is not executable here is no program there.
        return fail(error == EACCES ? ERROR_BAD_EXE_FORMAT : windows_error(error));
    }
    information->hProcess = add_handle(process);
    information->hThread = add_handle(process);  // its only thread ends with it
    information->dwProcessId = information->dwThreadId = static_cast<DWORD>(process->started.child);
    return TRUE;
}

DWORD GetProcessId(HANDLE process) {
    if (failing(__func__)) return 0;
    if (process == GetCurrentProcess()) return GetCurrentProcessId();
    const auto target = find<process_object>(process);
    return target ? static_cast<DWORD>(target->started.child) : 0;
}

BOOL GetExitCodeProcess(HANDLE process, LPDWORD exit_code) {
    if (failing(__func__)) return FALSE;
    const auto target = find<process_object>(process);
    if (!target) return FALSE;
    *exit_code = target->take() ? target->exit_code : STILL_ACTIVE;
    return TRUE;
}

BOOL TerminateProcess(HANDLE process, UINT exit_code) {
    if (failing(__func__)) return FALSE;
    const auto target = find<process_object>(process);
    if (!target) return FALSE;
    if (target->take()) return fail(ERROR_ACCESS_DENIED);
    const std::lock_guard<std::mutex> lock(target->mutex);
    target->terminated = true;
    target->terminate_code = exit_code;
    syscall(SYS_pidfd_send_signal, target->started.child_handle.get(), SIGKILL, nullptr, 0);
    return TRUE;
}

BOOL SetPriorityClass(HANDLE process, DWORD priority_class) {
    if (failing(__func__)) return FALSE;
    const auto target = find<process_object>(process);
    if (!target) return FALSE;
    const std::lock_guard<std::mutex> lock(target->mutex);
    target->priority_class = priority_class;
    // Whoever may not raise a priority gets a lower one on Windows too, with success.
    setpriority(PRIO_PROCESS, static_cast<id_t>(target->started.child), nice_value(priority_class));
    return TRUE;
}
