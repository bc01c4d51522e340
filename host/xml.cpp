#include "host/xml.h"

#include <cctype>
#include <stdexcept>

#include <tinyxml.h>

#include "host/text.h"

namespace host {

namespace {

// The parser recurses into elements and compares each attribute with all before it.
constexpr int max_depth = 32;
constexpr int max_attributes = 64;

// Whether the parser can be let loose on the text: tags whose values are quoted, and nothing else
// that has a syntax of its own.
bool is_harmless(const std::string& text) {
    std::size_t at = 0;
    int depth = 0;
    while ((at = text.find('<', at)) != std::string::npos) {
        const char next = at + 1 < text.size() ? text[at + 1] : '\0';
        if (next == '!' || (next == '?' && at != 0)) {
            return false;
        }
        char quote = '\0';
        int attributes = 0;
        std::size_t end = at + 1;
        for (; end < text.size() && (quote != '\0' || text[end] != '>'); ++end) {
            const char c = text[end];
            if (quote != '\0') {
                quote = c == quote ? '\0' : quote;
            } else if (c == '"' || c == '\'') {
                quote = c;
                ++attributes;
            }
        }
        if (end >= text.size() || attributes > max_attributes) {
            return false;
        }
        if (next == '/') {
            --depth;
        } else if (next != '?' && text[end - 1] != '/') {
            ++depth;
        }
        if (depth > max_depth) {
            return false;
        }
        at = end;
    }
    // A number of a character is read up to the next ";", wherever that is.
    for (at = text.find("&#"); at != std::string::npos; at = text.find("&#", at + 1)) {
        const bool is_hexadecimal = text.compare(at + 2, 1, "x") == 0;
        std::size_t end = at + (is_hexadecimal ? 3 : 2);
        while (end < text.size() && std::isxdigit(static_cast<unsigned char>(text[end]))) {
            ++end;
        }
        if (end >= text.size() || text[end] != ';') {
            return false;
        }
    }
    return true;
}

}  // namespace

void parse_xml(const std::string& utf8, const std::string& what, TiXmlDocument& document) {
    to_utf16(utf8);  // throws for broken characters, which the parser steps over in its own way
    if (!is_harmless(utf8)) {
        throw std::runtime_error("this is no " + what);
    }
    document.Parse(utf8.c_str(), nullptr, TIXML_ENCODING_UTF8);
    if (document.Error() || !document.RootElement()) {
        throw std::runtime_error("this is no " + what);
    }
}

std::string text_of(const TiXmlElement& element, const char* attribute) {
    const char* const value = element.Attribute(attribute);
    return value ? value : "";
}

}  // namespace host
