#include "support/host/os_name.h"

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/host/os_release.h"

namespace util {

std::string GetOsName() {
    OSVERSIONINFOEXA version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (!GetVersionExA(reinterpret_cast<LPOSVERSIONINFOA>(&version))) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to determine operating system version", error);
    }
    SYSTEM_INFO info{};
    GetSystemInfo(&info);

    os_facts_t facts;
    facts.major = GetOsMajor();
    facts.minor = GetOsMinor();
    facts.build = GetOsBuild();
    facts.product_type = GetOsProductType();
    facts.suite_mask = version.wSuiteMask;
    facts.architecture = info.wProcessorArchitecture;
    facts.is_workstation = version.wProductType == VER_NT_WORKSTATION;
    facts.is_32_bit = IsOs32Bit();
    facts.is_64_bit = IsOs64Bit();
    facts.is_r2 = GetSystemMetrics(SM_SERVERR2) != 0;
    return os_name(facts);
}

}  // namespace util
