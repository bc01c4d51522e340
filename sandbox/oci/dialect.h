// Oracle's SQL as far as this system speaks it: its words, and its SELECTs in SQLite's dialect.
#pragma once

#include <string>
#include <vector>

namespace sandbox::oci {

struct token_t {
    enum class kind_t { word, quoted, text, number, placeholder, symbol };
    kind_t kind;
    std::string text;   // as it stands; of a text, a quoted name and a placeholder what is inside
    std::string upper;  // of a word its capitals, else like `text`
    std::size_t begin;  // in the statement
    std::size_t end;

    bool is(const char* word_or_symbol) const {
        return (kind == kind_t::word || kind == kind_t::symbol) && upper == word_or_symbol;
    }
};

/// Throws ora_error_t on a text that is not closed and on a character that SQL does not have.
std::vector<token_t> tokenize(const std::string& statement);

/// A SELECT for SQLite. Throws ora_error_t where Oracle would not take it, and SQLite would.
std::string to_sqlite(const std::string& statement, const std::vector<token_t>& tokens);

}  // namespace sandbox::oci
