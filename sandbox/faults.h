// What is to go wrong in the client, set from outside and counted across processes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace sandbox {

enum class fault_kind {
    ora,       ///< the call fails with the ORA number `value` and `text`
    status,    ///< the call gives the status `value`, and leaves no error record
    hang,      ///< the call never returns
    wait,      ///< the call is carried out when release() gives the sign
    crash,     ///< the call faults: access violation
    divide,    ///< the call faults: division by zero
    delay,     ///< the call is carried out `value` milliseconds late
    delay_us,  ///< the call is carried out, and returns `value` microseconds after it came
    env_left   ///< OCIEnvCreate fails, and leaves an environment to be freed
};

struct fault_t {
    std::string target;  ///< an entry point, or a LIKE pattern for the text of executed statements
    std::uint32_t nth = 1;  ///< strikes at the n-th matching call from now; 0 at every one
    fault_kind kind = fault_kind::ora;
    std::int32_t value = 0;
    std::string text;  ///< of an ORA error, handed out byte for byte; a plain one if empty
};

/// As the database has it.
const char* to_text(fault_kind kind);

inline fault_t ora(const std::string& target, std::int32_t code, std::uint32_t nth = 1) {
    return {target, nth, fault_kind::ora, code, ""};
}
inline fault_t status(const std::string& target, std::int32_t value, std::uint32_t nth = 1) {
    return {target, nth, fault_kind::status, value, ""};
}
inline fault_t hang(const std::string& target, std::uint32_t nth = 1) {
    return {target, nth, fault_kind::hang, 0, ""};
}
inline fault_t wait(const std::string& target, std::uint32_t nth = 1) {
    return {target, nth, fault_kind::wait, 0, ""};
}
inline fault_t crash(const std::string& target, std::uint32_t nth = 1) {
    return {target, nth, fault_kind::crash, 0, ""};
}

/// `sid` "*" stands for every instance of the sandbox. A session sees the faults that were set
/// before its environment was created; counting goes on across sessions and processes.
void set_fault(const std::filesystem::path& sandbox, const std::string& sid, const fault_t& fault);
void clear_faults(const std::filesystem::path& sandbox, const std::string& sid = "*");

/// The sign for the calls that wait, and for those that come later, until another fault of this
/// kind is set.
void release(const std::filesystem::path& sandbox);
bool is_released(const std::filesystem::path& sandbox);

}  // namespace sandbox
