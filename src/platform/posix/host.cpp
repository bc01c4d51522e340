#include "platform/posix/host.h"

#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

#include "platform/posix/handles.h"
#include "platform/posix/sandbox.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

constexpr DWORD condition_bits = 3;  // of the mask, for each version field

template <typename Version>
void fill_version(Version& version) {
    version.dwMajorVersion = static_cast<DWORD>(host_number("os_major", 10));
    version.dwMinorVersion = static_cast<DWORD>(host_number("os_minor", 0));
    version.dwBuildNumber = static_cast<DWORD>(host_number("os_build", 17763));
    version.dwPlatformId = VER_PLATFORM_WIN32_NT;
    const long service_pack = host_number("service_pack_major", 0);
    const std::string text = service_pack ? "Service Pack " + std::to_string(service_pack) : "";
    std::fill(std::begin(version.szCSDVersion), std::end(version.szCSDVersion), 0);
    std::copy(text.begin(), text.end(), version.szCSDVersion);
}

template <typename Version>
void fill_extended(Version& version) {
    version.wServicePackMajor = static_cast<WORD>(host_number("service_pack_major", 0));
    version.wServicePackMinor = static_cast<WORD>(host_number("service_pack_minor", 0));
    version.wSuiteMask = static_cast<WORD>(host_number("suite_mask", 0));
    version.wProductType =
        host_text("workstation", "no") == "yes" ? VER_NT_WORKSTATION : VER_NT_SERVER;
    version.wReserved = 0;
}

// The position of a version field in the condition mask is that of its bit in the type mask.
DWORD shift_of(DWORD type) {
    DWORD index = 0;
    while (!(type >> index & 1)) {
        ++index;
    }
    return index * condition_bits;
}

int order(DWORD actual, DWORD wanted) {
    return actual < wanted ? -1 : actual > wanted;
}

bool holds(int comparison, DWORD condition) {
    switch (condition) {
        case VER_EQUAL:
            return comparison == 0;
        case VER_GREATER:
            return comparison > 0;
        case VER_GREATER_EQUAL:
            return comparison >= 0;
        case VER_LESS:
            return comparison < 0;
        default:
            return comparison <= 0;
    }
}

}  // namespace

NTSTATUS fill_os_version(PRTL_OSVERSIONINFOW version) {
    fill_version(*version);
    if (version->dwOSVersionInfoSize == sizeof(RTL_OSVERSIONINFOEXW)) {
        fill_extended(*reinterpret_cast<RTL_OSVERSIONINFOEXW*>(version));
    }
    return 0;
}

}  // namespace platform

using namespace platform;

BOOL GetComputerNameExW(COMPUTER_NAME_FORMAT format, LPWSTR name, LPDWORD size) {
    if (failing(__func__)) return FALSE;
    const std::wstring host = from_utf8(host_text("computer_name", "ORASRV"));
    const std::wstring domain = from_utf8(host_text("domain", "lab.example"));
    const std::wstring full = domain.empty() ? host : host + L"." + domain;
    const std::wstring& text = format == ComputerNameDnsDomain           ? domain
                               : format == ComputerNameDnsFullyQualified ? full
                                                                         : host;
    const DWORD room = *size;
    const DWORD length = static_cast<DWORD>(text.size());
    *size = room > length ? length : length + 1;
    if (room <= length) return fail(ERROR_MORE_DATA);
    std::wmemcpy(name, text.c_str(), length + 1);
    return TRUE;
}

BOOL GetVersionExA(LPOSVERSIONINFOA version) {
    if (failing(__func__)) return FALSE;
    const bool extended = version->dwOSVersionInfoSize == sizeof(OSVERSIONINFOEXA);
    if (!extended && version->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA)) {
        return fail(ERROR_INSUFFICIENT_BUFFER);
    }
    fill_version(*version);
    if (extended) fill_extended(*reinterpret_cast<OSVERSIONINFOEXA*>(version));
    return TRUE;
}

ULONGLONG VerSetConditionMask(ULONGLONG mask, DWORD type, BYTE condition) {
    return mask | ULONGLONG{condition} << shift_of(type);
}

BOOL VerifyVersionInfoA(LPOSVERSIONINFOEXA version, DWORD types, DWORDLONG condition_mask) {
    if (failing(__func__)) return FALSE;
    OSVERSIONINFOEXA actual = {};
    fill_version(actual);
    fill_extended(actual);
    const OSVERSIONINFOEXA& wanted = *version;
    const struct {
        DWORD type, actual, wanted;
    } fields[] = {
        {VER_MAJORVERSION, actual.dwMajorVersion, wanted.dwMajorVersion},
        {VER_MINORVERSION, actual.dwMinorVersion, wanted.dwMinorVersion},
        {VER_BUILDNUMBER, actual.dwBuildNumber, wanted.dwBuildNumber},
        {VER_PLATFORMID, actual.dwPlatformId, wanted.dwPlatformId},
        {VER_SERVICEPACKMAJOR, actual.wServicePackMajor, wanted.wServicePackMajor},
        {VER_SERVICEPACKMINOR, actual.wServicePackMinor, wanted.wServicePackMinor},
        {VER_PRODUCT_TYPE, actual.wProductType, wanted.wProductType},
    };
    for (const auto& field : fields) {
        if (!(types & field.type)) continue;
        const DWORD condition = condition_mask >> shift_of(field.type) & 7;
        if (condition == 0) return fail(ERROR_INVALID_PARAMETER);
        if (!holds(order(field.actual, field.wanted), condition)) {
            return fail(ERROR_OLD_WIN_VERSION);
        }
    }
    return TRUE;
}

BOOL GetProductInfo(DWORD, DWORD, DWORD, DWORD, PDWORD product) {
    *product = 0;
    if (failing(__func__)) return FALSE;
    *product = static_cast<DWORD>(host_number("product_type", 7));
    return *product != 0;
}

void GetSystemInfo(LPSYSTEM_INFO info) {
    *info = {};
    info->wProcessorArchitecture =
        static_cast<WORD>(host_number("architecture", PROCESSOR_ARCHITECTURE_AMD64));
    info->dwPageSize = static_cast<DWORD>(sysconf(_SC_PAGESIZE));
    info->dwNumberOfProcessors = static_cast<DWORD>(sysconf(_SC_NPROCESSORS_ONLN));
    info->dwAllocationGranularity = 65536;
}

void GetNativeSystemInfo(LPSYSTEM_INFO info) {
    GetSystemInfo(info);
}

int GetSystemMetrics(int index) {
    return index == SM_SERVERR2 ? static_cast<int>(host_number("r2", 0)) : 0;
}

HRESULT CoCreateGuid(GUID* guid) {
    if (failing(__func__)) return E_FAIL;
    if (getrandom(guid, sizeof *guid, 0) != sizeof *guid) return E_FAIL;
    guid->Data3 = (guid->Data3 & 0x0FFF) | 0x4000;
    guid->Data4[0] = (guid->Data4[0] & 0x3F) | 0x80;
    return S_OK;
}

RPC_STATUS UuidToStringW(const UUID* uuid, RPC_WSTR* text) {
    if (failing(__func__)) return static_cast<RPC_STATUS>(GetLastError());
    char form[37];
    const auto& tail = uuid->Data4;
    std::snprintf(form, sizeof form, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                  uuid->Data1, uuid->Data2, uuid->Data3, tail[0], tail[1], tail[2], tail[3],
                  tail[4], tail[5], tail[6], tail[7]);
    *text = static_cast<wchar_t*>(std::malloc(sizeof form * sizeof(wchar_t)));
    if (!*text) return ERROR_NOT_ENOUGH_MEMORY;
    std::copy(std::begin(form), std::end(form), *text);
    return RPC_S_OK;
}

RPC_STATUS RpcStringFreeW(RPC_WSTR* text) {
    std::free(*text);
    *text = nullptr;
    return RPC_S_OK;
}
