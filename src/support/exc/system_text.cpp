#include "support/exc/system_text.h"

#include <boost/system/error_code.hpp>

#include "platform/platform.h"
#include "support/text/convert.h"

namespace exc {

namespace {

// WinINet's messages live in its own module.
constexpr std::uint32_t wininet_first = 12000;
constexpr std::uint32_t wininet_last = 12175;

bool format_system_text(DWORD source, const void* module, DWORD code, DWORD language,
                        std::string& text) {
    LPWSTR buffer = nullptr;
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | source, module, code,
                                        language, reinterpret_cast<LPWSTR>(&buffer), 0, nullptr);
    if (length == 0) {
        return false;
    }
    const std::wstring wide(buffer, length);
    LocalFree(buffer);
    text = util::to_utf8(wide);
    return true;
}

std::string find_system_text(std::uint32_t code) {
    std::string text;
    if (format_system_text(FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                           code, 1033, text)) {
        return text;
    }
    if (code >= wininet_first && code <= wininet_last &&
        format_system_text(FORMAT_MESSAGE_FROM_HMODULE, GetModuleHandleW(L"wininet.dll"), code, 0,
                           text)) {
        return text;
    }
    return util::ansi_to_utf8(boost::system::system_category().message(static_cast<int>(code)));
}

}  // namespace

std::string system_error_text(std::uint32_t code) {
    std::string text = find_system_text(code);
    if (text.size() >= 2 && text.compare(text.size() - 2, 2, "\r\n") == 0) {
        text.resize(text.size() - 2);
    }
    return text;
}

std::string com_error_description() {
    IErrorInfo* info = nullptr;
    if (GetErrorInfo(0, &info) != S_OK || !info) {
        return std::string();
    }
    BSTR description = nullptr;
    std::string text;
    if (info->GetDescription(&description) == S_OK && description) {
        text = util::to_ansi_safe(description);
        SysFreeString(description);
    }
    info->Release();
    return text;
}

}  // namespace exc
