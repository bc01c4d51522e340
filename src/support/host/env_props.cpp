#include "support/host/env_props.h"

#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/host/os_name.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"

namespace util {

namespace {

std::wstring fully_qualified_name() {
    DWORD size = 0;
    GetComputerNameExW(ComputerNameDnsFullyQualified, nullptr, &size);
    std::wstring name(size + 1, L'\0');
    DWORD length = size + 1;
    if (!GetComputerNameExW(ComputerNameDnsFullyQualified, name.data(), &length)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to retrieve fully qualified computer name (FQDN).", error);
    }
    name.resize(length);
    return name;
}

}  // namespace

boost::shared_ptr<specific::oracle::CEnvProps> CollectEnvProps() {
    logging::log_scope_t scope(logging::g_oralib_log, "Collecting environment properties");
    const auto props = boost::make_shared<specific::oracle::CEnvProps>();
    props->osName = from_ansi(GetOsName());
    props->serverName = fully_qualified_name();
    scope.ok();
    return props;
}

}  // namespace util
