// The machine's facts, its modules, and the handles of all kinds.
#include <cwchar>
#include <functional>

#include <gtest/gtest.h>

#include "platform/thread.h"
#include "scratch.h"

namespace {

template <typename Function>
Function system_function(const char* module, const char* name) {
    const HMODULE library = LoadLibraryA(module);
    const auto function =
        reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    EXPECT_TRUE(FreeLibrary(library));
    return function;
}

}  // namespace

TEST(modules, system_functions_at_run_time) {
    const auto get_version =
        system_function<NTSTATUS(NTAPI*)(PRTL_OSVERSIONINFOW)>("ntdll.dll", "RtlGetVersion");
    ASSERT_NE(nullptr, get_version);
    RTL_OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    EXPECT_EQ(0, get_version(reinterpret_cast<PRTL_OSVERSIONINFOW>(&version)));
    EXPECT_GE(version.dwMajorVersion, 6u);
    const auto get_product = system_function<BOOL(WINAPI*)(DWORD, DWORD, DWORD, DWORD, PDWORD)>(
        "KERNEL32", "GetProductInfo");
    ASSERT_NE(nullptr, get_product);
    DWORD product = 0;
    EXPECT_TRUE(get_product(6, 1, 0, 0, &product));
    EXPECT_NE(0u, product);
    // Wine has no transactions.
    EXPECT_EQ(is_wine(),
              system_function<void (*)()>("Advapi32.dll", "RegOpenKeyTransactedW") == nullptr);
    EXPECT_EQ(nullptr, system_function<void (*)()>("kernel32.dll", "NoSuchFunction"));
}

TEST(modules, errors) {
    write_scratch(scratch_path(L"text.dll"), "no library");
    const struct {
        const char* name;
        DWORD code;
    } cases[] = {{"no-such-library", ERROR_MOD_NOT_FOUND},
                 {"no-such-library.dll", ERROR_MOD_NOT_FOUND},
                 {"C:\\scratch\\absent.dll", ERROR_MOD_NOT_FOUND},
                 {"C:\\absent\\absent.dll", ERROR_MOD_NOT_FOUND},
                 {"C:\\scratch\\text.dll", ERROR_BAD_EXE_FORMAT}};
    for (const auto& test : cases) {
        EXPECT_EQ(nullptr, LoadLibraryA(test.name));
        EXPECT_EQ(test.code, GetLastError()) << test.name;
    }
    EXPECT_EQ(nullptr, GetModuleHandleW(L"wininet.dll"));
    EXPECT_EQ(ERROR_MOD_NOT_FOUND, GetLastError());
    EXPECT_EQ(nullptr, GetProcAddress(LoadLibraryA("kernel32"), "NoSuchFunction"));
    EXPECT_EQ(ERROR_PROC_NOT_FOUND, GetLastError());
}

TEST(modules, path_of_the_program) {
    char path[MAX_PATH];
    const DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string whole = path;
    EXPECT_EQ(whole.size(), length);
    EXPECT_NE(std::string::npos, whole.find("\\platform_test"));
    for (const DWORD room : {length + 1, length, DWORD{4}}) {
        const bool fits = room > length;
        std::fill(path, path + length + 2, '#');
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(fits ? length : room, GetModuleFileNameA(nullptr, path, room));
        EXPECT_EQ(fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER, GetLastError());
        EXPECT_EQ(whole.substr(0, room - 1), std::string(path, std::min(room - 1, length)));
        // Wine leaves a path that does not fit without its end.
        EXPECT_TRUE(path[std::min(room - 1, length)] == '\0' || (is_wine() && !fits));
        EXPECT_EQ('#', path[std::min(room, length + 1)]);
    }
}

TEST(host, computer_name) {
    DWORD length = 0;
    EXPECT_FALSE(GetComputerNameExW(ComputerNameDnsFullyQualified, nullptr, &length));
    EXPECT_EQ(ERROR_MORE_DATA, GetLastError());
    for (const DWORD room : {length - 1, length, length + 5}) {
        std::wstring name(room + 1, L'#');
        DWORD size = room;
        const bool fits = room >= length;
        EXPECT_EQ(fits, GetComputerNameExW(ComputerNameDnsFullyQualified, &name[0], &size) != 0);
        EXPECT_EQ(fits ? length - 1 : length, size);
        EXPECT_TRUE(fits ? name.find(L'\0') == size : GetLastError() == ERROR_MORE_DATA);
    }
}

TEST(host, folders) {
    wchar_t path[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, path);
    const std::wstring temp = path;
    EXPECT_EQ(temp.size(), length);
    EXPECT_EQ(L'\\', temp.back());
    EXPECT_EQ(length, GetTempPathW(length + 1, path));
    EXPECT_EQ(length + 1, GetTempPathW(length, path));
    EXPECT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, path));
    EXPECT_STREQ(L"C:\\ProgramData", path);
    EXPECT_EQ(DRIVE_FIXED, GetDriveTypeW(L"C:\\"));
    EXPECT_EQ(DRIVE_NO_ROOT_DIR, GetDriveTypeW(L"Q:\\"));
    EXPECT_TRUE(PathIsUNCW(L"\\\\srv\\data"));
    EXPECT_TRUE(PathIsUNCW(L"\\\\?\\UNC\\srv"));
    EXPECT_FALSE(PathIsUNCW(L"C:\\"));
}

TEST(host, identifiers) {
    std::wstring texts[2];
    for (std::wstring& result : texts) {
        GUID guid;
        RPC_WSTR text = nullptr;
        EXPECT_EQ(S_OK, CoCreateGuid(&guid));
        EXPECT_EQ(RPC_S_OK, UuidToStringW(&guid, &text));
        result = reinterpret_cast<wchar_t*>(text);
        EXPECT_EQ(RPC_S_OK, RpcStringFreeW(&text));
        EXPECT_EQ(L'4', result[14]);  // made of random numbers
    }
    EXPECT_NE(texts[0], texts[1]);
    GUID known = {0x1a2B3c, 0xFF, 0xABCD, {0, 1, 2, 3, 4, 5, 6, 0xFE}};
    RPC_WSTR text = nullptr;
    EXPECT_EQ(RPC_S_OK, UuidToStringW(&known, &text));
    EXPECT_STREQ(L"001a2b3c-00ff-abcd-0001-0203040506fe", reinterpret_cast<wchar_t*>(text));
    RpcStringFreeW(&text);
}

TEST(host, environment) {
    wchar_t value[32];
    EXPECT_EQ(0u, GetEnvironmentVariableW(L"ORALIB_NO_SUCH", value, 32));
    EXPECT_EQ(ERROR_ENVVAR_NOT_FOUND, GetLastError());
    const struct {
        const char* assignment;
        const wchar_t *name, *value;
    } cases[] = {{"ORALIB_T=one", L"ORALIB_T", L"one"},
                 {"ORALIB_T=another=", L"oralib_t", L"another="},
                 {"ORALIB_T\xC9ST=\x80x", L"OralIb_T\u00C9st", L"\u20ACx"}};
    for (const auto& test : cases) {
        const DWORD length = static_cast<DWORD>(std::wcslen(test.value));
        EXPECT_EQ(0, _putenv(test.assignment));
        EXPECT_EQ(length + 1, GetEnvironmentVariableW(test.name, nullptr, 0));
        EXPECT_EQ(length + 1, GetEnvironmentVariableW(test.name, value, length));
        EXPECT_EQ(length, GetEnvironmentVariableW(test.name, value, length + 1));
        EXPECT_STREQ(test.value, value);
        const std::string assignment = test.assignment;
        EXPECT_EQ(0, _putenv(assignment.substr(0, assignment.find('=') + 1).c_str()));
        EXPECT_EQ(0u, GetEnvironmentVariableW(test.name, value, 32));
        EXPECT_EQ(ERROR_ENVVAR_NOT_FOUND, GetLastError());
    }
    EXPECT_EQ(10u, GetEnvironmentVariableW(L"SystemRoot", value, 32));
    EXPECT_EQ(L"C:\\", std::wstring(value, 3));
}

TEST(handles_threads, tokens) {
    HANDLE token = nullptr;
    EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, &token));
    EXPECT_EQ(ERROR_NO_TOKEN, GetLastError());
    const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    const auto thread = platform::start_thread([&] { WaitForSingleObject(event, INFINITE); });
    HANDLE handle = platform::thread_handle(*thread);
    EXPECT_TRUE(SetThreadToken(&handle, nullptr));
    EXPECT_FALSE(OpenThreadToken(handle, TOKEN_IMPERSONATE, TRUE, &token));
    EXPECT_EQ(ERROR_NO_TOKEN, GetLastError());
    EXPECT_FALSE(SetThreadToken(&handle, event));
    EXPECT_EQ(ERROR_INVALID_HANDLE, GetLastError());
    EXPECT_TRUE(RevertToSelf());
    SetEvent(event);
    thread->join();
    CloseHandle(event);
}
