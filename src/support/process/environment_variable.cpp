#include "support/process/environment_variable.h"

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace util {

CEnvironmentVariable::CEnvironmentVariable(const std::string& name, const std::string& value)
    : m_name(name), m_value(value), m_assignment(format_message("%1=%2", name, value)) {}

CEnvironmentVariable CEnvironmentVariable::read(const std::string& name) {
    const std::wstring wide_name = from_ansi(name);
    const DWORD size = GetEnvironmentVariableW(wide_name.c_str(), nullptr, 0);
    std::wstring value(size, L'\0');
    const DWORD length =
        size == 0 ? 0 : GetEnvironmentVariableW(wide_name.c_str(), value.data(), size);
    if (length == 0) {
        const DWORD error = GetLastError();
        throw exc::runtime_exc_t(format_message("Failed to read environment variable: %1", name),
                                 error);
    }
    value.resize(length);
    return CEnvironmentVariable(name, to_ansi(value));
}

}  // namespace util
