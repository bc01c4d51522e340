#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>

#include <gtest/gtest.h>
#include <boost/thread/thread.hpp>

#include "platform/platform.h"
#include "platform/posix/faults.h"
#include "platform/system.h"
#include "posix_machine.h"

namespace {

struct child {
    explicit child(const std::wstring& application, std::wstring line = L"program",
                   const wchar_t* environment = nullptr) {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        HANDLE write_end = nullptr;
        CreatePipe(&output, &write_end, &inheritable, 0);
        SetHandleInformation(output, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = write_end;
        PROCESS_INFORMATION information = {};
        const BOOL started =
            CreateProcessW(application.empty() ? nullptr : application.c_str(), &line[0], nullptr,
                           nullptr, TRUE, CREATE_NO_WINDOW | CREATE_UNICODE_ENVIRONMENT,
                           const_cast<wchar_t*>(environment), nullptr, &startup, &information);
        error = started ? ERROR_SUCCESS : GetLastError();
        process = information.hProcess;
        CloseHandle(write_end);
        if (started) CloseHandle(information.hThread);
    }
    ~child() {
        if (process) CloseHandle(process);
        CloseHandle(output);
    }
    DWORD exit_code(DWORD wait = 20000) const {
        WaitForSingleObject(process, wait);
        DWORD code = 0;
        GetExitCodeProcess(process, &code);
        return code;
    }
    std::string text() const {
        std::string result;
        char buffer[16];
        DWORD done = 0;
        while (ReadFile(output, buffer, sizeof buffer, &done, nullptr)) {
            result.append(buffer, done);
        }
        EXPECT_EQ(ERROR_BROKEN_PIPE, GetLastError());
        return result;
    }
    HANDLE process = nullptr;
    HANDLE output = nullptr;
    DWORD error = 0;
};

const wchar_t program[] = L"C:\\app\\bin\\Tool.exe";

void write_program(const std::string& body) {
    write_machine_file("drives/c/app/bin/tool.exe", "#!/bin/sh\n" + body);
}

}  // namespace

TEST(processes, output_of_both_streams_and_exit_code) {
    write_program("echo out; echo err >&2; echo \"$1|$2|$VAR|$#\"; exit 3");
    const child run(program, L"Tool.exe one \"two words\"", L"VAR=value\0X=y\0");
    ASSERT_EQ(0u, run.error);
    EXPECT_NE(0u, GetProcessId(run.process));
    EXPECT_EQ(3u, run.exit_code());
    EXPECT_EQ("out\nerr\none|two words|value|2\n", run.text());
    EXPECT_FALSE(TerminateProcess(run.process, 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, GetLastError());
}

TEST(processes, errors_of_starting) {
    write_program("");
    write_machine_file("drives/c/app/plain.exe", "no program");
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, child(L"C:\\app\\bin\\absent.exe").error);
    EXPECT_EQ(ERROR_PATH_NOT_FOUND, child(L"C:\\absent\\bin\\tool.exe").error);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, child(L"", L"absent args").error);
    EXPECT_EQ(ERROR_ACCESS_DENIED, child(L"C:\\app").error);
    EXPECT_EQ(ERROR_ACCESS_DENIED, child(L"C:\\app\\plain.exe").error);
    write_machine_file("drives/c/app/bad.exe", "#!\n");
    EXPECT_EQ(ERROR_BAD_EXE_FORMAT, child(L"C:\\app\\bad.exe").error);
    for (const auto& open : platform::faults::open_handles()) {
        EXPECT_EQ(0, open.second) << open.first;
    }
}

TEST(processes, command_interpreter) {
    write_machine_file("drives/c/app/do it.bat", "#!/bin/sh\necho \"did $1\"; exit 4");
    const child run(L"", L"cmd.exe  /C \"C:\\app\\do it.bat\" that");
    EXPECT_EQ(4u, run.exit_code());
    EXPECT_EQ("did that\n", run.text());
    const child missing(L"", L"cmd.exe /C C:\\app\\absent.bat");
    EXPECT_EQ(1u, missing.exit_code());
    EXPECT_EQ(0u, missing.text().find("'C:\\app\\absent.bat' is not recognized"));
}

TEST(processes, run_system_redirects) {
    write_machine_file("drives/c/home/bin/srvctl.bat", "#!/bin/sh\necho \"$@\"; exit 7");
    EXPECT_EQ(7, platform::run_system(
                     "C:\\home\\bin\\srvctl.bat config database -db X > C:\\Windows\\Temp\\out"));
    EXPECT_EQ("config database -db X\n", read_machine_file("drives/c/Windows/Temp/out"));
    EXPECT_EQ(1, platform::run_system("C:\\home\\bin\\none.bat > C:\\Windows\\Temp\\none"));
    EXPECT_EQ(1, platform::run_system("C:\\home\\bin\\srvctl.bat > C:\\absent\\out"));
}

TEST(processes, termination) {
    write_program("exec sleep 60");
    const child run(program);
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(run.process, 20));
    EXPECT_EQ(STILL_ACTIVE, run.exit_code(0));
    EXPECT_TRUE(SetPriorityClass(run.process, IDLE_PRIORITY_CLASS));
    EXPECT_EQ(IDLE_PRIORITY_CLASS, GetPriorityClass(run.process));
    EXPECT_TRUE(TerminateProcess(run.process, 0xDEAD));
    EXPECT_EQ(0xDEADu, run.exit_code());
    EXPECT_EQ("", run.text());
}

// The client library makes the system forget the ends of children; a host may reap them all.
TEST(processes_threads, exit_code_is_true_whatever_the_host_does) {
    write_program("exit $1");
    std::atomic<bool> stop{false};
    for (bool ignored : {true, false}) {
        signal(SIGCHLD, ignored ? SIG_IGN : SIG_DFL);
        stop = false;
        boost::thread reaper([&] {
            while (!stop) {
                waitpid(-1, nullptr, WNOHANG);
                usleep(50);
            }
        });
        for (int code = 0; code < 20; ++code) {
            const child run(program, L"tool " + std::to_wstring(code));
            EXPECT_EQ(static_cast<DWORD>(code), run.exit_code());
        }
        stop = true;
        reaper.join();
    }
}
