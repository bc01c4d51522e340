#include "sandbox/oci/charset.h"

#include <algorithm>
#include <iterator>

namespace sandbox::oci {

namespace {

// 0x80 to 0x9F; the five that 1252 leaves open stand for themselves.
constexpr unsigned high_controls[] = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

bool is_ascii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

char to_1252(unsigned code) {
    const auto found = std::find(std::begin(high_controls), std::end(high_controls), code);
    if (found != std::end(high_controls)) {
        return static_cast<char>(0x80 + (found - std::begin(high_controls)));
    }
    return static_cast<char>(code < 0x80 || (code >= 0xA0 && code <= 0xFF) ? code : 0xBF);
}

}  // namespace

std::string from_client(const std::string& text) {
    if (is_ascii(text)) {
        return text;
    }
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const unsigned code = byte >= 0x80 && byte < 0xA0 ? high_controls[byte - 0x80] : byte;
        if (code < 0x80) {
            result += c;
        } else if (code < 0x800) {
            result += static_cast<char>(0xC0 | code >> 6);
            result += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            result += static_cast<char>(0xE0 | code >> 12);
            result += static_cast<char>(0x80 | (code >> 6 & 0x3F));
            result += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return result;
}

std::string to_client(const std::string& text) {
    if (is_ascii(text)) {
        return text;
    }
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i++]);
        unsigned code = lead;
        int rest = 0;
        if (lead >= 0xC0) {
            rest = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
            code = lead & (0x3Fu >> rest);
        }
        for (; rest > 0 && i < text.size(); --rest) {
            code = code << 6 | (static_cast<unsigned char>(text[i++]) & 0x3Fu);
        }
        result += to_1252(code);
    }
    return result;
}

}  // namespace sandbox::oci
