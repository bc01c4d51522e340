// Names of Windows by version number.
#pragma once

#include <cstdint>
#include <string>

namespace util {

/// What the name depends on.
struct os_facts_t {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    std::uint32_t product_type = 0;  ///< as GetProductInfo gives it
    std::uint16_t suite_mask = 0;
    std::uint16_t architecture = 0;  ///< of the system as this process sees it
    bool is_workstation = false;
    bool is_32_bit = false;
    bool is_64_bit = false;
    bool is_r2 = false;
};

std::string os_name(const os_facts_t& facts);

}  // namespace util
