#include <algorithm>

#include <gtest/gtest.h>

#include "platform/system.h"
#include "platform/thread.h"
#include "scratch.h"

namespace {

struct child {
    explicit child(const std::wstring& application, std::wstring line = L"program",
                   const wchar_t* environment = nullptr) {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
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
        if (started) {
            EXPECT_EQ(information.dwProcessId, GetProcessId(process));
            CloseHandle(information.hThread);
        }
    }
    ~child() {
        if (process) CloseHandle(process);
        CloseHandle(output);
    }
    child(const child&) = delete;
    child& operator=(const child&) = delete;

    DWORD exit_code(DWORD wait = 20000) const {
        WaitForSingleObject(process, wait);
        DWORD code = 0;
        EXPECT_TRUE(GetExitCodeProcess(process, &code));
        return code;
    }
    /// A process that is ended while it starts keeps what it has under Wine: the next letter tells
    /// that it runs.
    void await_letter() const {
        char letter = 0;
        DWORD done = 0;
        EXPECT_TRUE(ReadFile(output, &letter, 1, &done, nullptr));
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
    HANDLE write_end = nullptr;
    DWORD error = 0;
};

const wchar_t program[] = L"C:\\app\\bin\\Tool.exe";

struct processes : testing::Test {
    static void SetUpTestSuite() {
        machine().add_child("C:\\app\\bin\\tool.exe");
        machine().add_child("C:\\app\\do it.bat");
        machine().add_child("C:\\home\\srvctl.bat");
        machine().add_child("C:\\planted\\cmd.exe");
    }
};
using processes_threads = processes;

}  // namespace

TEST_F(processes, output_of_both_streams_and_exit_code) {
    for (const DWORD code : {0, 1, 120, 255}) {
        const child run(program, L"Tool.exe out a err b out c exit " + std::to_wstring(code));
        ASSERT_EQ(0u, run.error);
        EXPECT_EQ(code, run.exit_code());
        EXPECT_EQ("abc", run.text());
        // Wine lets one end it again, to no effect.
        EXPECT_EQ(is_wine(), TerminateProcess(run.process, 1) != FALSE);
        EXPECT_TRUE(is_wine() || GetLastError() == ERROR_ACCESS_DENIED);
        EXPECT_EQ(code, run.exit_code());
    }
    // More than a pipe holds.
    const std::string much(3000, 'm');
    const std::wstring line = L"Tool.exe out " + std::wstring(much.begin(), much.end());
    const child run(program, line + line.substr(8) + line.substr(8));
    EXPECT_EQ(much + much + much, run.text());
}

TEST_F(processes, words_of_the_command_line) {
    const struct {
        const wchar_t* line;
        const char* words;
    } cases[] = {
        {L"one \"two words\"\tthree", "one|two words|three|"},
        {L"a\"b c\"d \"\" e", "ab cd||e|"},
        {L"thr\"ee f\"our  five ", "three four|five|"},
        {L"C:\\dir\\ \"C:\\my dir\\\\\" x", "C:\\dir\\|C:\\my dir\\|x|"},
        {L"\\\"said\\\" \"in \\\"side\\\"\"", "\"said\"|in \"side\"|"},
        {L"a\\\\b a\\\\\\\"b \"c\\\\\\\" d\"", "a\\\\b|a\\\"b|c\\\" d|"},
        {L"'a b' $x;y > z & | %y%", "'a|b'|$x;y|>|z|&|||%y%|"},
        {L"\"open end", "open end|"},
    };
    for (const auto& test : cases) {
        const child run(program, std::wstring(L"Tool.exe args exit 0 ") + test.line);
        std::string words = run.text();
        std::replace(words.begin(), words.end(), '\n', '|');
        EXPECT_EQ(std::string("args|exit|0|") + test.words, words);
    }
}

TEST_F(processes, environment) {
    const struct {
        const wchar_t* block;
        const char* value;
    } cases[] = {{L"ORALIB_VALUE=a b=c\0SystemRoot=C:\\Windows\0", "a b=c"},
                 {L"SystemRoot=C:\\Windows\0ORALIB_VALUE=\u00E9\u20AC\0", "\xE9\x80"},
                 {L"SystemRoot=C:\\Windows\0", "(none)"},
                 {nullptr, "of the parent"}};
    _putenv("ORALIB_VALUE=of the parent");
    for (const auto& test : cases) {
        EXPECT_EQ(test.value, child(program, L"Tool.exe env ORALIB_VALUE", test.block).text());
    }
    _putenv("ORALIB_VALUE=");
}

TEST_F(processes, errors_of_starting) {
    write_scratch(scratch_path(L"text.exe"), "no program at all, but for its name");
    const struct {
        const wchar_t *application, *line;
        DWORD code;
    } cases[] = {{program, L"Tool.exe", 0},
                 {L"c:/APP/bin/tool.EXE", L"", 0},
                 {L"", L"C:\\app\\bin\\tool.exe", 0},
                 {L"", L"\"C:\\app\\bin\\tool.exe\" out x", 0},
                 {L"C:\\app\\do it.bat", L"it", 0},
                 {L"C:\\app\\bin\\absent.exe", L"", ERROR_FILE_NOT_FOUND},
                 {L"C:\\app\\bin\\tool", L"", ERROR_FILE_NOT_FOUND},
                 {L"C:\\absent\\bin\\tool.exe", L"", ERROR_PATH_NOT_FOUND},
                 {L"", L"absent args", ERROR_FILE_NOT_FOUND},
                 {L"C:\\app", L"", ERROR_ACCESS_DENIED},
                 {L"C:\\scratch\\text.exe", L"", ERROR_BAD_EXE_FORMAT}};
    for (const auto& test : cases) {
        // Wine takes a folder for a handle that is invalid.
        const DWORD code = test.code == 5 && is_wine() ? ERROR_INVALID_HANDLE : test.code;
        EXPECT_EQ(code, child(test.application, test.line).error)
            << testing::PrintToString(test.application) << testing::PrintToString(test.line);
    }
}

TEST_F(processes, command_interpreter) {
    const struct {
        const wchar_t* line;
        DWORD code;
        const char* text;  // null for a complaint
    } cases[] = {
        {L"cmd.exe  /C \"C:\\app\\do it.bat\" out did exit 4", 4, "did"},
        {L"cmd.exe /c C:\\home\\srvctl.bat out a err b", 0, "ab"},
        {L"CMD /C C:\\app\\bin\\tool.exe out direct exit 3", 3, "direct"},
        {L"cmd.exe  /C C:\\home\\absent.bat", 1, nullptr},
        {L"cmd.exe  /C C:\\absent\\absent.bat", 1, nullptr},
        {L"cmd.exe  /C C:\\app\\do it.bat out did exit 4", 1, nullptr},
    };
    for (const auto& test : cases) {
        const child run(L"", test.line);
        // Wine has another code for what it does not recognize.
        const DWORD code = test.code == 1 && is_wine() ? 9009 : test.code;
        EXPECT_EQ(code, run.exit_code()) << testing::PrintToString(test.line);
        if (test.text) {
            EXPECT_EQ(test.text, run.text());
        } else {
            EXPECT_NE("", run.text());
        }
    }
}

TEST_F(processes, run_system_redirects) {
    const std::string command = "C:\\home\\srvctl.bat out line exit 7 ";
    const struct {
        std::string redirection, file, text;
        int code;
    } cases[] = {{"> C:\\scratch\\out", "out", "line", 7},
                 {">C:\\scratch\\out", "out", "line", 7},
                 {">>C:\\scratch\\out", "out", "lineline", 7},
                 {"> \"C:\\scratch\\with blank\"", "with blank", "line", 7},
                 {"> C:\\absent\\out", "none", "", 1}};
    scratch_path(L"");
    // Another interpreter in the current folder is left alone.
    const auto folder = std::filesystem::current_path();
    std::filesystem::current_path(machine().find("C:\\planted"));
    for (const auto& test : cases) {
        // Wine complains of a folder that is missing, with success.
        EXPECT_EQ(test.code == 1 && is_wine() ? 0 : test.code,
                  platform::run_system(command + test.redirection));
        EXPECT_EQ(test.text, read_file(machine().find("C:\\scratch\\" + test.file)));
    }
    EXPECT_EQ(is_wine() ? 9009 : 1,
              platform::run_system("C:\\home\\none.bat x > C:\\scratch\\none"));
    EXPECT_EQ("", read_file(machine().find("C:\\scratch\\none")));
    std::filesystem::current_path(folder);
}

TEST_F(processes, termination) {
    const child run(program, L"Tool.exe out x sleep 30000");
    run.await_letter();
    const DWORD begin = GetTickCount();
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(run.process, 50));
    EXPECT_GE(GetTickCount() - begin, 30u);
    EXPECT_EQ(STILL_ACTIVE, run.exit_code(0));
    EXPECT_TRUE(SetPriorityClass(run.process, IDLE_PRIORITY_CLASS));
    EXPECT_TRUE(TerminateProcess(run.process, 0xDEAD));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(run.process, 20000));
    EXPECT_EQ(0xDEADu, run.exit_code());
    EXPECT_EQ("", run.text());
}

// What another child holds of a pipe keeps its end away.
TEST_F(processes_threads, inherited_handles) {
    for (const bool inherited : {true, false}) {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        HANDLE read_end = nullptr, write_end = nullptr;
        ASSERT_TRUE(CreatePipe(&read_end, &write_end, &inheritable, 0));
        EXPECT_TRUE(SetHandleInformation(write_end, HANDLE_FLAG_INHERIT,
                                         inherited ? HANDLE_FLAG_INHERIT : 0));
        const child other(program, L"Tool.exe out x sleep 30000");
        other.await_letter();
        EXPECT_TRUE(CloseHandle(write_end));
        DWORD error = 0;
        const auto reader = platform::start_thread([&] {
            char letter;
            DWORD done = 0;
            error = ReadFile(read_end, &letter, 1, &done, nullptr) ? 0 : GetLastError();
        });
        EXPECT_EQ(inherited ? WAIT_TIMEOUT : WAIT_OBJECT_0,
                  WaitForSingleObject(platform::thread_handle(*reader), inherited ? 200 : 5000));
        EXPECT_TRUE(TerminateProcess(other.process, 0));
        reader->join();
        EXPECT_EQ(ERROR_BROKEN_PIPE, error);
        CloseHandle(read_end);
    }
}
