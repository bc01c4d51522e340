#include "host/child.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace host {

namespace {

constexpr DWORD look_every_ms = 20;
constexpr auto grace = std::chrono::seconds(20);

std::atomic<bool> g_asked{false};
HANDLE g_done = nullptr;

// The system ends the process when the answer to these comes back.
bool is_last_call(DWORD event) {
    return event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT;
}

BOOL WINAPI note(DWORD event) {
    g_asked = true;
    if (is_last_call(event)) {
        WaitForSingleObject(g_done, INFINITE);
    }
    return TRUE;
}

// One word, as the run-time libraries take a command line apart.
std::wstring quote(const std::string& utf8) {
    const std::wstring word = std::filesystem::u8path(utf8).wstring();
    if (!word.empty() && word.find_first_of(L" \t\"") == std::wstring::npos) {
        return word;
    }
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"') {
            quoted.append(backslashes + 1, L'\\');
        }
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    return quoted.append(backslashes, L'\\') + L'"';
}

}  // namespace

end_requests_t::end_requests_t() {
    g_done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(note, TRUE);
}

end_requests_t::~end_requests_t() {
    SetEvent(g_done);
    SetConsoleCtrlHandler(note, FALSE);
}

bool end_requests_t::was_asked() {
    return g_asked;
}

child_outcome_t run_child(const std::vector<std::string>& words, std::chrono::seconds limit) {
    std::wstring command;
    for (const std::string& word : words) {
        command += (command.empty() ? L"" : L" ") + quote(word);
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child = {};
    // A job takes in whatever the command starts, if the command is in it before it runs.
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE,
                        CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup,
                        &child)) {
        const DWORD error = GetLastError();
        CloseHandle(job);
        throw std::runtime_error("cannot run " + words[0] + ": " +
                                 std::system_category().message(static_cast<int>(error)));
    }
    AssignProcessToJobObject(job, child.hProcess);
    ResumeThread(child.hThread);
    CloseHandle(child.hThread);

    const auto begin = std::chrono::steady_clock::now();
    child_end how = child_end::exited;
    std::chrono::steady_clock::time_point asked_to_end;
    while (WaitForSingleObject(child.hProcess, look_every_ms) == WAIT_TIMEOUT) {
        const auto now = std::chrono::steady_clock::now();
        const bool is_over = now - begin > limit;
        if (how == child_end::exited && (end_requests_t::was_asked() || is_over)) {
            how = end_requests_t::was_asked() ? child_end::interrupted : child_end::timed_out;
            asked_to_end = now;
            TerminateJobObject(job, 1);
            TerminateProcess(child.hProcess, 1);  // where it could not be put into the job
        } else if (how != child_end::exited && now - asked_to_end > grace) {
            break;  // stuck in the system; the databases must not wait for it
        }
    }
    DWORD code = 0;
    GetExitCodeProcess(child.hProcess, &code);
    CloseHandle(child.hProcess);
    CloseHandle(job);
    return {how, static_cast<int>(code)};
}

}  // namespace host
