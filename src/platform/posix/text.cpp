#include "platform/posix/text.h"

#include <algorithm>
#include <cwchar>

#include "platform/posix/handles.h"
#include "platform/posix/sandbox.h"
#include "platform/posix/unicode.h"

namespace {

// Gives the units out, or tells how many there are when no room was offered.
template <typename Text, typename Char>
int give(const Text& text, Char* buffer, int size) {
    const int needed = static_cast<int>(text.size());
    if (size == 0) return needed;
    std::copy_n(text.begin(), std::min(needed, size), buffer);
    return needed <= size ? needed : platform::fail(ERROR_INSUFFICIENT_BUFFER);
}

}  // namespace

using namespace platform;

UINT GetACP() {
    return static_cast<UINT>(host_number("ansi_code_page", 1252));
}

int WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR wide, int wide_count, LPSTR buffer,
                        int size, LPCSTR default_char, LPBOOL used_default_char) {
    if (failing(__func__)) return 0;
    const bool utf8 = code_page == CP_UTF8;
    const UINT page = code_page == CP_ACP ? GetACP() : code_page;
    if (!is_code_page(code_page) || !wide || wide_count == 0 || wide_count < -1 || size < 0 ||
        (size > 0 && !buffer) || (utf8 && (default_char || used_default_char))) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if (flags & ~(utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS)) {
        return fail(ERROR_INVALID_FLAGS);
    }
    const std::wstring text(wide, wide_count == -1 ? std::wcslen(wide) + 1 : wide_count);
    bool lossy = false;
    const std::string result = narrow(page, text, default_char ? default_char : "?", &lossy);
    if (lossy && (flags & WC_ERR_INVALID_CHARS)) return fail(ERROR_NO_UNICODE_TRANSLATION);
    if (used_default_char) *used_default_char = lossy;
    return give(result, buffer, size);
}

int MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR narrow, int narrow_count, LPWSTR buffer,
                        int size) {
    if (failing(__func__)) return 0;
    const UINT page = code_page == CP_ACP ? GetACP() : code_page;
    if (!is_code_page(code_page) || !narrow || narrow_count == 0 || narrow_count < -1 || size < 0 ||
        (size > 0 && !buffer)) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if (flags & ~(MB_ERR_INVALID_CHARS | (code_page == CP_UTF8 ? 0 : MB_PRECOMPOSED))) {
        return fail(ERROR_INVALID_FLAGS);
    }
    const std::size_t count =
        narrow_count == -1 ? std::char_traits<char>::length(narrow) + 1 : narrow_count;
    bool lossy = false;
    const std::wstring result = widen(page, std::string(narrow, count), &lossy);
    if (lossy && (flags & MB_ERR_INVALID_CHARS)) return fail(ERROR_NO_UNICODE_TRANSLATION);
    return give(result, buffer, size);
}
