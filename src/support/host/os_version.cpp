#include "support/host/os_version.h"

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/win/registry.h"

namespace util {

namespace {

constexpr std::uint32_t unknown = 0xFFFFFFFF;
constexpr std::uint32_t number_limit = 100;
constexpr std::uint32_t build_limit = 100000;

std::uint32_t g_major = unknown;
std::uint32_t g_minor = unknown;
std::uint32_t g_sp_major = unknown;
std::uint32_t g_sp_minor = unknown;
std::uint32_t g_build = unknown;
std::uint32_t g_product_type = unknown;
std::uint32_t g_architecture = unknown;

using rtl_get_version_t = NTSTATUS WINAPI(PRTL_OSVERSIONINFOW);

// Fills all caches but the product type's at once.
bool ask_rtl() {
    const HMODULE library = LoadLibraryA("ntdll.dll");
    if (!library) {
        return false;
    }
    auto* const get_version =
        reinterpret_cast<rtl_get_version_t*>(GetProcAddress(library, "RtlGetVersion"));
    RTL_OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof version;
    const bool known =
        get_version && get_version(reinterpret_cast<PRTL_OSVERSIONINFOW>(&version)) == 0;
    FreeLibrary(library);
    if (known) {
        g_major = version.dwMajorVersion;
        g_minor = version.dwMinorVersion;
        g_build = version.dwBuildNumber;
        g_sp_major = version.wServicePackMajor;
        g_sp_minor = version.wServicePackMinor;
    }
    return known;
}

using set_field_t = void (*)(OSVERSIONINFOEXA&, std::uint32_t);

// Raises a trial value until the system says that it is equal; 0 if it never does.
std::uint32_t find_by_trial(DWORD field, std::uint32_t limit, set_field_t set_field) {
    const ULONGLONG condition = VerSetConditionMask(0, field, VER_EQUAL);
    for (std::uint32_t value = 0; value < limit; ++value) {
        OSVERSIONINFOEXA trial{};
        trial.dwOSVersionInfoSize = sizeof trial;
        set_field(trial, value);
        if (VerifyVersionInfoA(&trial, field, condition)) {
            return value;
        }
        const DWORD error = GetLastError();
        if (error != ERROR_OLD_WIN_VERSION) {
            throw exc::win_sys_exc_t("Failed to determine operating system version", error);
        }
    }
    return 0;
}

std::uint32_t read_number(std::uint32_t& cache, DWORD field, std::uint32_t limit,
                          set_field_t set_field) {
    if (cache == unknown && !ask_rtl()) {
        cache = find_by_trial(field, limit, set_field);
    }
    return cache;
}

std::uint32_t native_architecture() {
    if (g_architecture == unknown) {
        SYSTEM_INFO info{};
        GetNativeSystemInfo(&info);
        g_architecture = info.wProcessorArchitecture;
    }
    return g_architecture;
}

using get_product_info_t = BOOL WINAPI(DWORD, DWORD, DWORD, DWORD, PDWORD);

enum class product_info_t { known, failed, absent };

product_info_t ask_product_info(DWORD& product_type) {
    const HMODULE library = LoadLibraryA("kernel32.dll");
    if (!library) {
        return product_info_t::absent;
    }
    auto* const get_product_info =
        reinterpret_cast<get_product_info_t*>(GetProcAddress(library, "GetProductInfo"));
    product_info_t result = product_info_t::absent;
    if (get_product_info) {
        result = get_product_info(GetOsMajor(), GetOsMinor(), GetOsSpMajor(), GetOsSpMinor(),
                                  &product_type)
                     ? product_info_t::known
                     : product_info_t::failed;
    }
    FreeLibrary(library);
    return result;
}

// A server installed without its desktop has the plain type all the same.
std::uint32_t core_type(std::uint32_t plain) {
    static constexpr struct {
        std::uint32_t plain;
        std::uint32_t core;
    } table[] = {{8, 12},  {7, 13},  {10, 14}, {17, 29}, {37, 39}, {36, 40},
                 {38, 41}, {20, 43}, {21, 44}, {22, 45}, {23, 46}, {25, 63}};
    for (const auto& row : table) {
        if (row.plain == plain) {
            return row.core;
        }
    }
    return plain;
}

}  // namespace

std::uint32_t GetOsMajor() {
    return read_number(g_major, VER_MAJORVERSION, number_limit,
                       [](OSVERSIONINFOEXA& v, std::uint32_t n) { v.dwMajorVersion = n; });
}

std::uint32_t GetOsMinor() {
    return read_number(g_minor, VER_MINORVERSION, number_limit,
                       [](OSVERSIONINFOEXA& v, std::uint32_t n) { v.dwMinorVersion = n; });
}

std::uint32_t GetOsBuild() {
    return read_number(g_build, VER_BUILDNUMBER, build_limit,
                       [](OSVERSIONINFOEXA& v, std::uint32_t n) { v.dwBuildNumber = n; });
}

std::uint32_t GetOsSpMajor() {
    return read_number(
        g_sp_major, VER_SERVICEPACKMAJOR, number_limit,
        [](OSVERSIONINFOEXA& v, std::uint32_t n) { v.wServicePackMajor = static_cast<WORD>(n); });
}

std::uint32_t GetOsSpMinor() {
    return read_number(
        g_sp_minor, VER_SERVICEPACKMINOR, number_limit,
        [](OSVERSIONINFOEXA& v, std::uint32_t n) { v.wServicePackMinor = static_cast<WORD>(n); });
}

std::uint32_t GetOsProductType() {
    if (g_product_type != unknown) {
        return g_product_type;
    }
    DWORD product_type = 0;
    if (ask_product_info(product_type) == product_info_t::failed) {
        return 0;
    }
    const win::win_regoptions_reader_t reader(L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion");
    g_product_type = reader.get_string("InstallationType", "") == "Server Core"
                         ? core_type(product_type)
                         : product_type;
    return g_product_type;
}

bool IsOs64Bit() {
    const std::uint32_t architecture = native_architecture();
    return architecture == PROCESSOR_ARCHITECTURE_AMD64 ||
           architecture == PROCESSOR_ARCHITECTURE_IA64;
}

bool IsOs32Bit() {
    return native_architecture() == PROCESSOR_ARCHITECTURE_INTEL;
}

}  // namespace util
