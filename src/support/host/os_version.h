// Version numbers of the running system. Each is found once and kept; threads that ask at the same
// time find the same. Failures throw win_sys_exc_t.
#pragma once

#include <cstdint>

namespace util {

std::uint32_t GetOsMajor();
std::uint32_t GetOsMinor();
std::uint32_t GetOsBuild();
std::uint32_t GetOsSpMajor();
std::uint32_t GetOsSpMinor();
/// As GetProductInfo gives it, with the core type for a server that was installed as such.
std::uint32_t GetOsProductType();
bool IsOs64Bit();
bool IsOs32Bit();

}  // namespace util
