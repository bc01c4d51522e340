#include "oracle/connect/sql_text.h"

#include <algorithm>

#include <boost/algorithm/string/replace.hpp>

#include "support/exc/exc.h"

namespace specific::oracle {

std::string sql_literal(const std::string& text) {
    return boost::replace_all_copy(text, "'", "''");
}

const std::string& sql_identifier(const std::string& text) {
    if (std::any_of(text.begin(), text.end(),
                    [](unsigned char c) { return c == '"' || c < ' ' || c == 0x7F; })) {
        throw exc::runtime_exc_t("Not a name for a statement: [%1].", text);
    }
    return text;
}

const std::string& sql_number(const std::string& text) {
    const auto skip_blanks = [&](std::size_t at) {
        return std::min(text.find_first_not_of(' ', at), text.size());
    };
    std::size_t at = skip_blanks(0);
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        at = skip_blanks(at + 1);
    }
    const std::size_t end = std::min(text.find_first_not_of("0123456789", at), text.size());
    if (end == at || skip_blanks(end) != text.size()) {
        throw exc::runtime_exc_t("Not a number for a statement: [%1].", text);
    }
    return text;
}

}  // namespace specific::oracle
