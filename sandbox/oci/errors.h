// Oracle's errors on their way to the error handle.
#pragma once

#include <cstdio>
#include <string>

namespace sandbox::oci {

struct ora_error_t {
    int code;
    std::string text;  // whole, with the number in front and a line end
};

inline std::string ora_line(int code, const std::string& message) {
    char prefix[16];
    std::snprintf(prefix, sizeof(prefix), "ORA-%05d: ", code);
    return prefix + message + "\n";
}

/// `more` is what stands below the first line, each line with its end.
[[noreturn]] inline void fail(int code, const std::string& message, const std::string& more = "") {
    throw ora_error_t{code, ora_line(code, message) + more};
}

}  // namespace sandbox::oci
