// What is this layer's own: mapped paths, the accounts, the faults.
#include <pthread.h>
#include <unistd.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "platform/paths.h"
#include "platform/posix/faults.h"
#include "platform/thread.h"
#include "scratch.h"

namespace {

void write_machine_file(const std::string& name, const std::string& text) {
    const auto file = machine().folder / name;
    std::filesystem::create_directories(file.parent_path());
    write_file(file, text);
}

}  // namespace

TEST(machine, threads_have_a_stack_of_their_own) {
    std::size_t size = 0;
    platform::start_thread([&size] {
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &size);
        pthread_attr_destroy(&attributes);
    })->join();
    EXPECT_EQ(size, platform::thread_stack_size) << "whatever the limit of the process says";
}

TEST(machine, native_paths) {
    write_machine_file("drives/c/Oracle/DB Home/\xC3\x84.txt", "");
    write_machine_file("shares/srv/data/f", "");
    const struct {
        const wchar_t* path;
        const char* expected;
    } cases[] = {
        {L"C:\\Oracle\\DB Home", "/drives/c/Oracle/DB Home"},
        {L"c:/ORACLE\\db home\\\u00E4.TXT", "/drives/c/Oracle/DB Home/\xC3\x84.txt"},
        {L"C:\\oracle\\New\\File", "/drives/c/Oracle/New/File"},
        {L"C:\\oracle\\x\\..\\DB HOME\\.\\", "/drives/c/Oracle/DB Home"},
        {L"C:\\..\\..\\oracle", "/drives/c/Oracle"},
        {L"\\\\?\\C:\\oracle", "/drives/c/Oracle"},
        {L"\\\\SRV\\Data\\f", "/shares/srv/data/f"},
        {L"\\\\?\\UNC\\srv\\DATA", "/shares/srv/data"},
        {L"//?/UNC/srv/DATA", "/shares/srv/data"},
        {L"D:\\x", "/drives/d/x"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(machine().folder.string() + test.expected,
                  platform::native_path(test.path).string());
    }
    EXPECT_EQ("/tmp", platform::native_path(L"\\tmp").string());
    EXPECT_EQ("/tmp", platform::native_path(L"/tmp").string());
}

TEST(machine, drives_and_shares) {
    write_machine_file("host.ini", "[drives]\ne = removable\nf=remote\n");
    write_machine_file("drives/e/x", "");
    write_machine_file("drives/f/x", "");
    write_machine_file("shares/srv/data/x", "");
    const struct {
        const wchar_t* root;
        UINT type;
    } cases[] = {
        {L"E:\\", DRIVE_REMOVABLE}, {L"f:\\", DRIVE_REMOTE}, {L"\\\\srv\\data\\", DRIVE_REMOTE}};
    for (const auto& test : cases) {
        EXPECT_EQ(test.type, GetDriveTypeW(test.root));
    }
    EXPECT_FALSE(PathIsUNCW(L"\\\\?\\C:\\"));
}

TEST(machine_threads, tokens) {
    write_machine_file(
        "accounts.ini",
        "[LAB\\ora]\npassword = secret\nupn = ora@lab.example\n[local]\npassword=x\n");
    const struct {
        const wchar_t *user, *domain, *password;
        DWORD error;
    } cases[] = {{L"ORA", L"lab", L"secret", 0},
                 {L"ora@LAB.example", nullptr, L"secret", 0},
                 {L"local", L".", L"x", 0},
                 {L"ora", L"lab", L"Secret", ERROR_LOGON_FAILURE},
                 {L"ora", L".", L"secret", ERROR_LOGON_FAILURE},
                 {L"nobody", L".", L"", ERROR_LOGON_FAILURE}};
    for (const auto& test : cases) {
        HANDLE token = nullptr;
        const BOOL done = LogonUserW(test.user, test.domain, test.password, 2, 0, &token);
        EXPECT_EQ(test.error, done ? 0 : GetLastError());
        if (done) CloseHandle(token);
    }

    HANDLE token = nullptr, mine = nullptr;
    EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, &mine));
    EXPECT_EQ(ERROR_NO_TOKEN, GetLastError());
    ASSERT_TRUE(LogonUserW(L"ora", L"LAB", L"secret", 2, 0, &token));
    ASSERT_TRUE(ImpersonateLoggedOnUser(token));
    const auto account_of = [](pid_t thread) {
        return read_file(machine().folder / "run" /
                         (std::to_string(getpid()) + "-" + std::to_string(thread) + ".account"));
    };
    EXPECT_EQ("LAB\\ora", account_of(gettid()));
    ASSERT_TRUE(OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, &mine));
    const HANDLE leave = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::atomic<pid_t> id{0};
    const auto thread = platform::start_thread([&] {
        id = gettid();
        WaitForSingleObject(leave, INFINITE);
    });
    HANDLE other = platform::thread_handle(*thread);
    EXPECT_TRUE(SetThreadToken(&other, mine));
    while (id == 0) {
        Sleep(1);
    }
    EXPECT_EQ("LAB\\ora", account_of(id));
    SetEvent(leave);
    thread->join();
    EXPECT_EQ("", account_of(id));
    EXPECT_TRUE(RevertToSelf());
    EXPECT_EQ("", account_of(gettid()));
    for (HANDLE handle : {token, mine, leave}) {
        EXPECT_TRUE(CloseHandle(handle));
    }
}

TEST(machine, faults) {
    const std::wstring path = scratch_path(L"fault");
    platform::faults::disarm();
    platform::faults::arm("CreateFileW", 2, ERROR_DISK_FULL);
    for (bool fails : {false, true, false}) {
        const HANDLE file = open_scratch(path, GENERIC_WRITE, 7);
        EXPECT_EQ(fails, file == INVALID_HANDLE_VALUE);
        if (fails) {
            EXPECT_EQ(ERROR_DISK_FULL, GetLastError());
        }
        if (!fails) CloseHandle(file);
    }
    EXPECT_EQ(3u, platform::faults::calls("CreateFileW"));
    platform::faults::arm("RegOpenKeyExW", 1, ERROR_ACCESS_DENIED);
    HKEY key = nullptr;
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"", 0, KEY_READ, &key));
    platform::faults::disarm();
    EXPECT_EQ(0u, platform::faults::calls("CreateFileW"));
}
