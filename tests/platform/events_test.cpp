#include <gtest/gtest.h>

#include "platform/system.h"
#include "platform/thread.h"

namespace {

template <typename Function>
Function system_function(const char* module, const char* name) {
    const HMODULE library = LoadLibraryA(module);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

}  // namespace

TEST(events_threads, manual_and_automatic) {
    for (BOOL manual : {TRUE, FALSE}) {
        const HANDLE event = CreateEventA(nullptr, manual, FALSE, nullptr);
        EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(event, 10));
        EXPECT_TRUE(SetEvent(event));
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event, INFINITE));
        EXPECT_EQ(manual ? WAIT_OBJECT_0 : WAIT_TIMEOUT, WaitForSingleObject(event, 0));
        EXPECT_TRUE(ResetEvent(event));
        EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(event, 0));
        EXPECT_TRUE(CloseHandle(event));
        EXPECT_EQ(WAIT_FAILED, WaitForSingleObject(event, 0));
        EXPECT_EQ(ERROR_INVALID_HANDLE, GetLastError());
    }
}

TEST(events_threads, set_by_another_thread) {
    const HANDLE there = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE back = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    int shared = 0;
    const auto thread = platform::start_thread([&] {
        WaitForSingleObject(there, INFINITE);
        ++shared;
        SetEvent(back);
    });
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(platform::thread_handle(*thread), 10));
    shared = 41;
    SetEvent(there);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(back, 10000));
    EXPECT_EQ(42, shared);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(platform::thread_handle(*thread), 10000));
    thread->join();
    CloseHandle(there);
    CloseHandle(back);
}

TEST(modules, system_functions_at_run_time) {
    const auto get_version =
        system_function<NTSTATUS(NTAPI*)(PRTL_OSVERSIONINFOW)>("ntdll.dll", "RtlGetVersion");
    ASSERT_NE(nullptr, get_version);
    RTL_OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    EXPECT_EQ(0, get_version(&version));
    EXPECT_GE(version.dwMajorVersion, 6u);
    EXPECT_NE(nullptr, system_function<void (*)()>("Advapi32.dll", "RegOpenKeyTransactedW"));
    EXPECT_EQ(nullptr, system_function<void (*)()>("kernel32.dll", "NoSuchFunction"));
    EXPECT_EQ(ERROR_PROC_NOT_FOUND, GetLastError());
    EXPECT_EQ(nullptr, LoadLibraryA("no-such-library"));
    EXPECT_EQ(ERROR_MOD_NOT_FOUND, GetLastError());
    char path[MAX_PATH];
    EXPECT_NE(0u, GetModuleFileNameA(nullptr, path, MAX_PATH));
    EXPECT_NE(std::string::npos, std::string(path).find("\\platform_test"));
    EXPECT_EQ(4u, GetModuleFileNameA(nullptr, path, 4));
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, GetLastError());
}

TEST(clock, local_time_is_utc_less_the_bias) {
    TIME_ZONE_INFORMATION zone;
    const DWORD state = GetTimeZoneInformation(&zone);
    SYSTEMTIME utc, local;
    do {
        GetSystemTime(&utc);
        GetLocalTime(&local);
    } while (utc.wSecond != local.wSecond);
    LONG bias = zone.Bias;
    if (state == TIME_ZONE_ID_STANDARD) bias += zone.StandardBias;
    if (state == TIME_ZONE_ID_DAYLIGHT) bias += zone.DaylightBias;
    const int minutes = (utc.wHour - local.wHour) * 60 + utc.wMinute - local.wMinute;
    EXPECT_EQ((bias % 1440 + 1440) % 1440, (minutes % 1440 + 1440) % 1440);
}

TEST(host, version_by_comparison) {
    OSVERSIONINFOEXA info = {};
    info.dwOSVersionInfoSize = 156;
    ASSERT_TRUE(GetVersionExA(reinterpret_cast<LPOSVERSIONINFOA>(&info)));
    const struct {
        BYTE condition;
        int difference;
        bool holds;
    } cases[] = {{VER_EQUAL, 0, true},          {VER_EQUAL, 1, false}, {VER_GREATER_EQUAL, 0, true},
                 {VER_GREATER_EQUAL, 1, false}, {VER_LESS, 1, true},   {VER_LESS, 0, false}};
    for (const auto& test : cases) {
        OSVERSIONINFOEXA wanted = info;
        wanted.dwBuildNumber += static_cast<DWORD>(test.difference);
        const ULONGLONG mask = VerSetConditionMask(0, VER_BUILDNUMBER, test.condition);
        EXPECT_EQ(test.holds, VerifyVersionInfoA(&wanted, VER_BUILDNUMBER, mask) != FALSE);
        if (!test.holds) {
            EXPECT_EQ(ERROR_OLD_WIN_VERSION, GetLastError());
        }
    }
    DWORD size = 0;
    EXPECT_FALSE(GetComputerNameExW(ComputerNameDnsFullyQualified, nullptr, &size));
    EXPECT_EQ(ERROR_MORE_DATA, GetLastError());
    std::wstring name(size, L'\0');
    EXPECT_TRUE(GetComputerNameExW(ComputerNameDnsFullyQualified, &name[0], &size));
    EXPECT_EQ(name.size(), size + 1);
}
