#include "support/xml/depth.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace util {

namespace {

// Follows the parser's tokens. Where the parser would give up the scanner may go on: it then sees
// more than the parser, never less. Names, quotes and angles are ASCII, and in a text of whole
// characters they are found byte by byte whichever encoding the parser goes by.
class scanner_t {
  public:
    scanner_t(const char* text, std::size_t depth_limit) : at(text), limit(depth_limit) {}

    std::size_t run() {
        while (skip_text() && deepest <= limit) {
            if (begins("<!--")) {
                skip_behind("-->", 4);
            } else if (begins("<![CDATA[")) {
                skip_behind("]]>", 9);
            } else if (begins_ignoring_case("<?xml")) {
                declaration();
            } else if (at[1] == '/') {
                depth -= depth > 0 ? 1 : 0;
                skip_behind(">", 2);
            } else if (is_name_start(at[1])) {
                ++at;
                element();
            } else {
                skip_behind(">", 1);
            }
        }
        return deepest;
    }

  private:
    static bool is_name_start(char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 127 || std::isalpha(byte) || c == '_';
    }

    static bool is_space(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

    bool begins(const char* token) const {
        return std::strncmp(at, token, std::strlen(token)) == 0;
    }

    bool begins_ignoring_case(const char* token) const {
        for (const char* c = at; *token; ++c, ++token) {
            if (std::tolower(static_cast<unsigned char>(*c)) != *token) {
                return false;
            }
        }
        return true;
    }

    // To the next "<"; false at the end of the text.
    bool skip_text() {
        while (*at && *at != '<' && is_plain_reference()) {
            ++at;
        }
        return *at != '\0';
    }

    // The parser reads a numeric reference up to the next ";", wherever that is. One that holds
    // more than its digits could hide anything: the depth can then not be told.
    bool is_plain_reference() {
        if (at[0] != '&' || at[1] != '#') {
            return true;
        }
        const bool hexadecimal = at[2] == 'x';
        const char* end = at + (hexadecimal ? 3 : 2);
        while (hexadecimal ? std::isxdigit(static_cast<unsigned char>(*end))
                           : std::isdigit(static_cast<unsigned char>(*end))) {
            ++end;
        }
        if (*end == ';') {
            return true;
        }
        deepest = limit + 1;
        return false;
    }

    void skip_behind(const char* token, std::size_t from) {
        const char* const found = std::strstr(at + from, token);
        at = found ? found + std::strlen(token) : at + std::strlen(at);
    }

    // A quoted value may hold any character, also ">"; the cursor is on "=".
    void attribute_value() {
        if (++attributes > xml_max_attributes) {
            deepest = limit + 1;
            return;
        }
        ++at;
        skip_space();
        const char quote = *at;
        if (quote != '"' && quote != '\'') {
            return;
        }
        ++at;
        while (*at && *at != quote && is_plain_reference()) {
            ++at;
        }
        at += *at ? 1 : 0;
    }

    // In UTF-8 the parser counts three marks as white space.
    void skip_space() {
        for (;;) {
            if (begins("\xEF\xBB\xBF") || begins("\xEF\xBF\xBE") || begins("\xEF\xBF\xBF")) {
                at += 3;
            } else if (*at && is_space(*at)) {
                ++at;
            } else {
                return;
            }
        }
    }

    // A start tag, with the cursor on its name.
    void element() {
        ++depth;
        deepest = std::max(deepest, depth);
        attributes = 0;
        while (*at && *at != '>' && deepest <= limit) {
            if (*at == '/' && at[1] == '>') {
                --depth;
                ++at;
                break;
            }
            if (*at == '=') {
                attribute_value();
            } else {
                ++at;
            }
        }
        at += *at ? 1 : 0;
    }

    // Of a declaration's words the parser takes but three as attributes.
    void declaration() {
        at += std::strlen("<?xml");
        while (*at && *at != '>' && deepest <= limit) {
            if (begins_ignoring_case("version") || begins_ignoring_case("encoding") ||
                begins_ignoring_case("standalone")) {
                while (*at && *at != '=' && *at != '>') {
                    ++at;
                }
                if (*at == '=') {
                    attribute_value();
                }
            } else if (is_space(*at)) {
                ++at;
            } else {
                while (*at && *at != '>' && !is_space(*at)) {
                    ++at;
                }
            }
        }
        at += *at ? 1 : 0;
    }

    const char* at;
    std::size_t limit;
    std::size_t depth = 0;
    std::size_t deepest = 0;
    std::size_t attributes = 0;
};

}  // namespace

std::size_t xml_nesting_depth(const std::string& text, std::size_t limit) {
    return scanner_t(text.c_str(), limit).run();
}

}  // namespace util
