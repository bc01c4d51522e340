#include "host/quantity.h"

#include <cstdlib>

#include "host/options.h"

namespace host {

std::int32_t read_time(const std::string& text) {
    char* unit = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &unit, 10);
    const std::string rest = unit;
    const unsigned long factor = rest == "s"   ? 1
                                 : rest == "m" ? 60
                                 : rest == "h" ? 3600
                                 : rest == "d" ? 86400
                                               : 0;
    if (text.empty() || text[0] < '0' || text[0] > '9' || factor == 0 ||
        number > 2000000000UL / factor) {
        throw usage_error_t("'" + text + "' is no time: 30s, 90m, 12h or 2d");
    }
    return static_cast<std::int32_t>(number * factor);
}

std::int64_t read_size(const std::string& text) {
    char* unit = nullptr;
    const unsigned long long number = std::strtoull(text.c_str(), &unit, 10);
    const std::string rest = unit;
    const int shift = rest.empty()    ? 0
                      : rest == "KiB" ? 10
                      : rest == "MiB" ? 20
                      : rest == "GiB" ? 30
                      : rest == "TiB" ? 40
                                      : -1;
    if (text.empty() || text[0] < '0' || text[0] > '9' || shift < 0 ||
        number > (1ULL << 62 >> shift)) {
        throw usage_error_t("'" + text + "' is no size: 20GiB, 500MiB, or a number of bytes");
    }
    return static_cast<std::int64_t>(number << shift);
}

}  // namespace host
