#include "sandbox/oci/dialect.h"

#include <algorithm>
#include <cctype>

#include "sandbox/oci/errors.h"
#include "sandbox/paths.h"

namespace sandbox::oci {

namespace {

using kind_t = token_t::kind_t;

bool is_word_start(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) || (c & 0x80);
}

bool is_word_part(char c) {
    return is_word_start(c) || std::isdigit(static_cast<unsigned char>(c)) || c == '_' ||
           c == '$' || c == '#';
}

template <typename Test>
std::size_t end_of(const std::string& text, std::size_t begin, const Test& test) {
    while (begin < text.size() && test(text[begin])) {
        ++begin;
    }
    return begin;
}

// Behind the closing quote; a doubled one stands for itself.
std::size_t end_of_quoted(const std::string& text, std::size_t begin, std::string& inside) {
    const char quote = text[begin];
    for (std::size_t i = begin + 1; i < text.size(); ++i) {
        if (text[i] == quote && (i + 1 == text.size() || text[i + 1] != quote)) {
            return i + 1;
        }
        i += text[i] == quote ? 1 : 0;
        inside += text[i];
    }
    fail(1756, "quoted string not properly terminated");
}

bool is_row_limit(const std::vector<token_t>& tokens, std::size_t i) {
    return i + 2 < tokens.size() && tokens[i].is("ROWNUM") && tokens[i + 1].is("=") &&
           tokens[i + 2].text == "1";
}

}  // namespace

std::vector<token_t> tokenize(const std::string& statement) {
    std::vector<token_t> tokens;
    for (std::size_t i = 0; i < statement.size();) {
        const char c = statement[i];
        token_t token{kind_t::symbol, "", "", i, i + 1};
        if (std::isspace(static_cast<unsigned char>(c))) {
            ++i;
            continue;
        }
        if (statement.compare(i, 2, "--") == 0) {
            i = std::min(statement.find('\n', i), statement.size());
            continue;
        }
        if (statement.compare(i, 2, "/*") == 0) {
            const std::size_t close = statement.find("*/", i + 2);
            i = close == std::string::npos ? statement.size() : close + 2;
            continue;
        }
        if (c == '\'' || c == '"') {
            token.kind = c == '"' ? kind_t::quoted : kind_t::text;
            token.end = end_of_quoted(statement, i, token.text);
        } else if (is_word_start(c)) {
            token.kind = kind_t::word;
            token.end = end_of(statement, i, is_word_part);
        } else if (std::isdigit(static_cast<unsigned char>(c))) {
            token.kind = kind_t::number;
            token.end = end_of(statement, i, [](char d) {
                return std::isdigit(static_cast<unsigned char>(d)) || d == '.';
            });
        } else if (c == ':' && i + 1 < statement.size() && is_word_part(statement[i + 1])) {
            token.kind = kind_t::placeholder;
            token.end = end_of(statement, i + 1, is_word_part);
            token.text = statement.substr(i + 1, token.end - i - 1);
        } else if (std::string("()+-*/,.=<>!|:;%@^&").find(c) == std::string::npos) {
            fail(911, "invalid character");
        }
        if (token.text.empty() && token.kind != kind_t::text) {
            token.text = statement.substr(i, token.end - i);
        }
        token.upper = token.kind == kind_t::word || token.kind == kind_t::placeholder
                          ? to_upper(token.text)
                          : token.text;
        i = token.end;
        tokens.push_back(token);
    }
    return tokens;
}

std::string to_sqlite(const std::string& statement, const std::vector<token_t>& tokens) {
    std::string sql;
    bool has_from = false;
    int depth = 0;
    int limited_depth = -1;  // of the query that a ROWNUM stood in
    bool skipping = false;   // its ORDER BY, which Oracle would do after the counting
    const auto close_limited = [&] {
        sql += limited_depth == depth ? " LIMIT 1" : "";
        limited_depth = limited_depth == depth ? -1 : limited_depth;
        skipping = false;
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const token_t& token = tokens[i];
        if (token.is(";")) {
            fail(911, "invalid character");
        }
        has_from = has_from || token.is("FROM");
        depth += token.is("(") ? 1 : 0;
        if (token.is(")")) {
            close_limited();
            --depth;
        }
        skipping = skipping || (limited_depth == depth && token.is("ORDER"));
        if (skipping) {
            continue;
        }
        // No blank where there was none: two symbols may be one operator.
        sql += i > 0 && tokens[i - 1].end == token.begin ? "" : " ";
        if (is_row_limit(tokens, i)) {
            sql += "1=1";
            limited_depth = depth;
            i += 2;
        } else if (token.is("TIMESTAMP") && i > 0 && tokens[i - 1].is("AS")) {
            sql += "TEXT";
        } else if (token.kind == kind_t::word && token.text.find('#') != std::string::npos) {
            sql += "[" + token.text + "]";
        } else if (token.kind == kind_t::text && token.text.empty()) {
            sql += "NULL";
        } else if (token.kind == kind_t::placeholder) {
            sql += ":" + token.upper;
        } else {
            sql += statement.substr(token.begin, token.end - token.begin);
        }
    }
    close_limited();
    if (!has_from) {
        fail(923, "FROM keyword not found where expected");
    }
    return sql;
}

}  // namespace sandbox::oci
