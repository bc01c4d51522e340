#include "support/text/number.h"

#include <charconv>
#include <system_error>

#include "support/exc/exc.h"
#include "support/text/convert.h"

namespace util {

std::uint64_t parse_uint64(const std::wstring& text) {
    std::uint64_t number = 0;
    bool valid = !text.empty();
    for (const wchar_t c : text) {
        const auto digit = static_cast<std::uint64_t>(c - L'0');
        valid = valid && c >= L'0' && c <= L'9' && number <= (UINT64_MAX - digit) / 10;
        number = number * 10 + digit;
    }
    if (!valid) {
        throw exc::runtime_exc_t("Not a number: [%1].", to_ansi_safe(text));
    }
    return number;
}

bool parse_int32(const std::string& text, std::int32_t& number) {
    const char* const begin = text.c_str() + (text[0] == '+' && text[1] != '-' ? 1 : 0);
    const char* const end = text.c_str() + text.size();
    const auto [stop, error] = std::from_chars(begin, end, number);
    return error == std::errc() && stop == end;
}

}  // namespace util
