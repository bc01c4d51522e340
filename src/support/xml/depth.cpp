#include "support/xml/depth.h"

#include <cctype>
#include <cstring>

namespace util {

namespace {

// A cursor over the text, up to its first NUL, as the parser sees it.
class scanner_t {
  public:
    scanner_t(const std::string& text, std::size_t depth_limit)
        : at(text.c_str()), limit(depth_limit) {}

    std::size_t run() {
        while (deepest <= limit && (at = std::strchr(at, '<')) != nullptr) {
            if (begins("<!--")) {
                skip_behind("-->", 4);
            } else if (begins("<![CDATA[")) {
                skip_behind("]]>", 9);
            } else if (at[1] == '/') {
                depth -= depth > 0 ? 1 : 0;
                skip_behind(">", 2);
            } else if (is_name_start(at[1])) {
                ++at;
                element();
            } else {
                skip_behind(">", 1);
            }
            if (!at) {
                break;
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

    void skip_behind(const char* token, std::size_t from) {
        const char* const found = std::strstr(at + from, token);
        at = found ? found + std::strlen(token) : nullptr;
    }

    // A start tag, with the cursor on its name. A quoted value may hold any character, also ">".
    void element() {
        ++depth;
        deepest = depth > deepest ? depth : deepest;
        while (*at && *at != '>') {
            if (*at == '/' && at[1] == '>') {
                --depth;
                ++at;
                break;
            }
            if (*at != '=') {
                ++at;
                continue;
            }
            do {
                ++at;
            } while (*at && is_space(*at));
            if (*at == '"' || *at == '\'') {
                const char* const end = std::strchr(at + 1, *at);
                if (!end) {
                    at = nullptr;  // the parser gives up here
                    return;
                }
                at = end + 1;
            }
        }
        at += *at ? 1 : 0;
    }

    const char* at;
    std::size_t limit;
    std::size_t depth = 0;
    std::size_t deepest = 0;
};

}  // namespace

std::size_t xml_nesting_depth(const std::string& text, std::size_t limit) {
    return scanner_t(text, limit).run();
}

}  // namespace util
