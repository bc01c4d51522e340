#include "host/text.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace host {

namespace {

// Code points that do not take one column; sorted. Common scripts and symbols, not all of Unicode.
const struct {
    char32_t first;
    char32_t last;
    std::size_t width;
} unusual_widths[] = {
    {0x0300, 0x036F, 0},   {0x0483, 0x0489, 0},  {0x0591, 0x05BD, 0}, {0x0610, 0x061A, 0},
    {0x064B, 0x065F, 0},   {0x1100, 0x115F, 2},  {0x1AB0, 0x1AFF, 0}, {0x1DC0, 0x1DFF, 0},
    {0x200B, 0x200F, 0},   {0x20D0, 0x20FF, 0},  {0x2E80, 0x303E, 2}, {0x3041, 0xA4CF, 2},
    {0xAC00, 0xD7A3, 2},   {0xF900, 0xFAFF, 2},  {0xFE00, 0xFE0F, 0}, {0xFE20, 0xFE2F, 0},
    {0xFE30, 0xFE4F, 2},   {0xFF00, 0xFF60, 2},  {0xFFE0, 0xFFE6, 2}, {0x1F300, 0x1F64F, 2},
    {0x1F900, 0x1F9FF, 2}, {0x20000, 0x3FFFD, 2}};

// The code point at `position`, which moves behind it. False for a malformed byte, which is then
// the code.
bool next_code(const std::string& utf8, std::size_t& position, char32_t& code) {
    const auto lead = static_cast<unsigned char>(utf8[position++]);
    code = lead;
    if (lead < 0x80) {
        return true;
    }
    const std::size_t rest = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || utf8.size() - position < rest) {
        return false;
    }
    char32_t joined = lead & (0x3Fu >> rest);
    for (std::size_t i = 0; i < rest; ++i) {
        const auto next = static_cast<unsigned char>(utf8[position + i]);
        if ((next & 0xC0) != 0x80) {
            return false;
        }
        joined = joined << 6 | (next & 0x3Fu);
    }
    static const char32_t smallest[] = {0, 0x80, 0x800, 0x10000};
    if (joined < smallest[rest] || joined > 0x10FFFF || (joined >= 0xD800 && joined <= 0xDFFF)) {
        return false;
    }
    position += rest;
    code = joined;
    return true;
}

void append_utf8(std::string& utf8, char32_t code) {
    if (code < 0x80) {
        utf8 += static_cast<char>(code);
        return;
    }
    const int rest = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static const unsigned char leads[] = {0, 0xC0, 0xE0, 0xF0};
    utf8 += static_cast<char>(leads[rest] | code >> (6 * rest));
    for (int i = rest - 1; i >= 0; --i) {
        utf8 += static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
    }
}

}  // namespace

std::basic_string<oralib_char> to_utf16(const std::string& utf8) {
    std::basic_string<oralib_char> text;
    char32_t code = 0;
    for (std::size_t i = 0; i < utf8.size();) {
        if (!next_code(utf8, i, code)) {
            throw std::runtime_error("a text for the module is not UTF-8");
        }
        if (code > 0xFFFF) {
            text += static_cast<oralib_char>(0xD7C0 + (code >> 10));
            code = 0xDC00 | (code & 0x3FF);
        }
        text += static_cast<oralib_char>(code);
    }
    return text;
}

std::string to_utf8(const oralib_char* text) {
    std::string utf8;
    while (text && *text) {
        char32_t code = static_cast<char16_t>(*text++);
        const char32_t next = static_cast<char16_t>(*text);
        if (code >= 0xD800 && code <= 0xDBFF && next >= 0xDC00 && next <= 0xDFFF) {
            code = 0x10000 + ((code & 0x3FF) << 10 | (next & 0x3FF));
            ++text;
        } else if (code >= 0xD800 && code <= 0xDFFF) {
            code = 0xFFFD;
        }
        append_utf8(utf8, code);
    }
    return utf8;
}

std::string to_one_line(const std::string& text) {
    std::string line;
    char32_t code = 0;
    for (std::size_t i = 0; i < text.size();) {
        next_code(text, i, code);
        const bool is_control = code < 0x20 || (code >= 0x7F && code < 0xA0);
        append_utf8(line, is_control ? U' ' : code);
    }
    return line;
}

std::size_t display_width(const std::string& utf8) {
    std::size_t width = 0;
    char32_t code = 0;
    for (std::size_t i = 0; i < utf8.size();) {
        next_code(utf8, i, code);
        const auto* const range =
            std::find_if(std::begin(unusual_widths), std::end(unusual_widths),
                         [code](const auto& candidate) { return code <= candidate.last; });
        const bool is_unusual = range != std::end(unusual_widths) && code >= range->first;
        width += is_unusual ? range->width : 1;
    }
    return width;
}

std::string to_human_size(std::uint64_t bytes) {
    if (bytes < 1024) {
        return std::to_string(bytes) + " B";
    }
    static const char prefixes[] = "KMGTPE";
    auto size = static_cast<double>(bytes) / 1024;
    int prefix = 0;
    // From here on, one decimal would show it as 1024.0.
    for (; size >= 1023.95; size /= 1024) {
        ++prefix;
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f %ciB", size, prefixes[prefix]);
    return text;
}

std::optional<std::string> from_base64(const std::string& text) {
    static const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t length = text.find_last_not_of('=') + 1;
    if (text.size() % 4 != 0 || text.size() - length > 2) {
        return std::nullopt;
    }
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const std::size_t value = alphabet.find(text[i]);
        if (value == std::string::npos) {
            return std::nullopt;
        }
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFF);
        }
    }
    return bytes;
}

std::vector<std::string> split_lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> failure_lines(const std::string& text, bool trace) {
    std::vector<std::string> for_people;
    std::vector<std::string> way;
    for (const std::string& line : split_lines(text)) {
        const bool is_way = line.rfind("--tr:", 0) == 0;
        const std::string shown = to_one_line(line);
        if (shown.find_first_not_of(' ') != std::string::npos && (!is_way || trace)) {
            (is_way ? way : for_people).push_back(shown);
        }
    }
    for_people.insert(for_people.end(), way.begin(), way.end());
    return for_people;
}

}  // namespace host
