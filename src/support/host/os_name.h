// The name of the running system.
#pragma once

#include <string>

#include "support/host/os_version.h"

namespace util {

/// Like "Microsoft Windows Server 2019 (1809, 64-bit)". Throws win_sys_exc_t.
std::string GetOsName();

}  // namespace util
