#include "support/text/convert.h"

#include <algorithm>
#include <exception>
#include <type_traits>

#include "platform/platform.h"
#include "support/exc/exc.h"

namespace util {

namespace {

template <typename Wide, typename Narrow>
bool narrow(UINT code_page, DWORD flags, bool check_default, const Wide& text, Narrow& result) {
    const int length = static_cast<int>(text.size());
    BOOL used_default = FALSE;
    BOOL* const used = check_default ? &used_default : nullptr;
    const int size =
        WideCharToMultiByte(code_page, flags, text.data(), length, nullptr, 0, nullptr, used);
    if (size <= 0) {
        return false;
    }
    if (used_default) {
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        return false;
    }
    result.resize(static_cast<std::size_t>(size));
    return WideCharToMultiByte(code_page, flags, text.data(), length, result.data(), size, nullptr,
                               used) == size;
}

bool widen(UINT code_page, const std::string& text, std::wstring& result) {
    const int length = static_cast<int>(text.size());
    const int size =
        MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(), length, nullptr, 0);
    if (size <= 0) {
        return false;
    }
    result.resize(static_cast<std::size_t>(size));
    return MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(), length, result.data(),
                               size) == size;
}

// The same in every code page, and nearly all there is to convert.
template <typename Text>
bool is_ascii(const Text& text) {
    using unit_t =
        std::make_unsigned_t<std::conditional_t<sizeof(typename Text::value_type) == 1, char, int>>;
    return std::all_of(text.begin(), text.end(),
                       [](auto unit) { return static_cast<unit_t>(unit) < 0x80; });
}

template <typename Narrow, typename Wide>
Narrow narrow_to_ansi(const Wide& text) {
    if (is_ascii(text)) {
        return Narrow(text.begin(), text.end());
    }
    Narrow result;
    // Windows refuses the flags of the other code pages where the ANSI one is UTF-8.
    const bool is_utf8 = GetACP() == CP_UTF8;
    if (!text.empty() &&
        !narrow(is_utf8 ? CP_UTF8 : CP_ACP, is_utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS,
                !is_utf8, text, result)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Unicode string cannot be converted to multibyte string.", error);
    }
    return result;
}

}  // namespace

std::string to_ansi(const std::wstring& text) {
    return narrow_to_ansi<std::string>(text);
}

secret_t to_ansi(const wide_secret_t& text) {
    return narrow_to_ansi<secret_t>(text);
}

std::wstring from_ansi(const std::string& text) {
    if (is_ascii(text)) {
        return std::wstring(text.begin(), text.end());
    }
    std::wstring result;
    if (!text.empty() && !widen(CP_ACP, text, result)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t(
            "Multibyte string cannot be converted to unicode string. Source string: [%1].", text,
            error);
    }
    return result;
}

std::string to_utf8(const std::wstring& text) {
    std::string result;
    if (!text.empty() && !narrow(CP_UTF8, WC_ERR_INVALID_CHARS, false, text, result)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Unicode string cannot be converted to UTF8 string.", error);
    }
    return result;
}

std::wstring from_utf8(const std::string& text) {
    std::wstring result;
    if (!text.empty() && !widen(CP_UTF8, text, result)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t(
            "Multibyte UTF8 string cannot be converted to unicode string. Source string: [%1].",
            text, error);
    }
    return result;
}

std::string to_ansi_safe(const std::wstring& text) {
    try {
        return to_ansi(text);
    } catch (const std::exception&) {
        return "UNICODE->ANSI failed";
    }
}

std::wstring from_ansi_safe(const std::string& text) {
    try {
        return from_ansi(text);
    } catch (const std::exception&) {
        return L"ANSI -> UNICODE failed.";
    }
}

std::string ansi_to_utf8(const std::string& text) {
    try {
        return to_utf8(from_ansi(text));
    } catch (const std::exception&) {
        return text;
    }
}

}  // namespace util
