#include "sandbox/journal.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace sandbox {

namespace {

std::string unescape(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            plain += text[i];
            continue;
        }
        const char c = text[++i];
        plain += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
    }
    return plain;
}

std::string escape(const std::string& text) {
    std::string line;
    line.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '\n':
                line += "\\n";
                break;
            case '\r':
                line += "\\r";
                break;
            case '\t':
                line += "\\t";
                break;
            case '\\':
                line += "\\\\";
                break;
            default:
                line += c;
        }
    }
    return line;
}

}  // namespace

std::filesystem::path journal_file(const std::filesystem::path& sandbox) {
    return sandbox / "oracle" / "journal.log";
}

std::string to_line(const record_t& record) {
    return std::to_string(record.pid) + '\t' + std::to_string(record.tid) + '\t' +
           escape(record.sid) + '\t' + record.entry + '\t' + std::to_string(record.status) + '\t' +
           std::to_string(record.code) + '\t' + escape(record.detail) + '\n';
}

std::vector<record_t> read_journal(const std::filesystem::path& sandbox) {
    std::vector<record_t> records;
    std::ifstream file(journal_file(sandbox), std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string pid, tid, sid, entry, status, code, detail;
        for (std::string* field : {&pid, &tid, &sid, &entry, &status, &code}) {
            std::getline(fields, *field, '\t');
        }
        std::getline(fields, detail);
        records.push_back({std::atol(pid.c_str()), std::atol(tid.c_str()), unescape(sid), entry,
                           std::atoi(status.c_str()), std::atoi(code.c_str()), unescape(detail)});
    }
    return records;
}

std::vector<std::string> executed_statements(const std::filesystem::path& sandbox,
                                             const std::string& sid) {
    std::vector<std::string> statements;
    for (const record_t& record : read_journal(sandbox)) {
        if (record.entry == "OCIStmtExecute" && (sid == "*" || sid == record.sid)) {
            statements.push_back(record.detail);
        }
    }
    return statements;
}

std::vector<std::string> read_leaks(const std::filesystem::path& sandbox) {
    std::vector<std::string> leaks;
    for (const record_t& record : read_journal(sandbox)) {
        if (record.entry == "leak") {
            leaks.push_back(record.detail);
        }
    }
    return leaks;
}

void clear_journal(const std::filesystem::path& sandbox) {
    std::error_code error;
    std::filesystem::resize_file(journal_file(sandbox), 0, error);
}

}  // namespace sandbox
