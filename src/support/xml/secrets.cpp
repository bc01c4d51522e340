#include "support/xml/secrets.h"

#include <algorithm>
#include <cctype>

namespace util {

namespace {

// Bytes beyond ASCII may be white space to the parser.
bool is_name_character(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && (std::isalnum(byte) || c == '_' || c == '-' || c == '.' || c == ':');
}

bool may_be_space(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || std::isspace(byte);
}

bool names(const std::string& text, const std::string& attribute) {
    for (std::size_t at = text.find(attribute); at != std::string::npos;
         at = text.find(attribute, at + 1)) {
        std::size_t behind = at + attribute.size();
        while (behind < text.size() && may_be_space(text[behind])) {
            ++behind;
        }
        if ((at == 0 || !is_name_character(text[at - 1])) && behind < text.size() &&
            text[behind] == '=') {
            return true;
        }
    }
    return false;
}

}  // namespace

const std::vector<std::string>& xml_secret_attributes() {
    static const std::vector<std::string> attributes = {"conn", "os_conn"};
    return attributes;
}

bool xml_names_secret(const std::string& text) {
    const auto& attributes = xml_secret_attributes();
    return std::any_of(attributes.begin(), attributes.end(),
                       [&](const std::string& attribute) { return names(text, attribute); });
}

}  // namespace util
