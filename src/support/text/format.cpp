#include "support/text/format.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cwchar>

namespace util {

namespace {

// A long has 32 bits on Windows, and the result shows.
std::int32_t clamp(long number) {
    return static_cast<std::int32_t>(std::clamp<long>(number, INT32_MIN, INT32_MAX));
}

std::int32_t parse_number(const char* text, char** end) {
    return clamp(std::strtol(text, end, 10));
}
std::int32_t parse_number(const wchar_t* text, wchar_t** end) {
    return clamp(std::wcstol(text, end, 10));
}

void append_number(std::string& text, std::int32_t number) {
    text += std::to_string(number);
}
void append_number(std::wstring& text, std::int32_t number) {
    text += std::to_wstring(number);
}

template <typename Text>
Text format(const Text& pattern, const std::vector<const Text*>& args) {
    using char_t = typename Text::value_type;
    Text result;
    const char_t* at = pattern.c_str();
    while (*at) {
        if (*at != char_t('%')) {
            result += *at++;
            continue;
        }
        ++at;
        char_t* end = nullptr;
        const std::int32_t number = parse_number(at, &end);
        if (end == at) {
            result += char_t('%');
            continue;
        }
        at = end;
        if (number >= 1 && static_cast<std::size_t>(number) <= args.size()) {
            result += *args[static_cast<std::size_t>(number - 1)];
        } else {
            result += char_t('%');
            append_number(result, number);
        }
    }
    return result;
}

}  // namespace

std::string format_message(const std::string& format_text, const std::vector<std::string>& args) {
    std::vector<const std::string*> pointers;
    for (const std::string& arg : args) {
        pointers.push_back(&arg);
    }
    return format(format_text, pointers);
}

std::string format_message(const std::string& format_text, const std::string& a) {
    return format(format_text, {&a});
}

std::string format_message(const std::string& format_text, const std::string& a,
                           const std::string& b) {
    return format(format_text, {&a, &b});
}

std::string format_message(const std::string& format_text, const std::string& a,
                           const std::string& b, const std::string& c) {
    return format(format_text, {&a, &b, &c});
}

std::string format_message(const std::string& format_text, const std::string& a,
                           const std::string& b, const std::string& c, const std::string& d) {
    return format(format_text, {&a, &b, &c, &d});
}

std::wstring format_message(const std::wstring& format_text, const std::wstring& a) {
    return format(format_text, {&a});
}

std::wstring format_message(const std::wstring& format_text, const std::wstring& a,
                            const std::wstring& b) {
    return format(format_text, {&a, &b});
}

std::wstring format_message(const std::wstring& format_text, const std::wstring& a,
                            const std::wstring& b, const std::wstring& c) {
    return format(format_text, {&a, &b, &c});
}

std::string to_string(bool value) {
    return value ? "true" : "false";
}

bool parse_bool(const std::string& text) {
    if (text == "true") {
        return true;
    }
    return text != "false" && text != "0";
}

}  // namespace util
