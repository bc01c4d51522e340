// The journal of the client stand-in: every call, every statement, every leak.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace sandbox {

struct record_t {
    long pid = 0;
    long tid = 0;
    std::string sid;
    std::string entry;  ///< an entry point, or "leak"
    int status = 0;     ///< what the call returned; the ORA number stands in `code`
    int code = 0;
    std::string detail;  ///< of OCIStmtExecute the statement, of a leak the handles
};

std::filesystem::path journal_file(const std::filesystem::path& sandbox);
/// The record as the journal has it, with its line end.
std::string to_line(const record_t& record);

std::vector<record_t> read_journal(const std::filesystem::path& sandbox);
/// The statements that were executed on an instance, in order; all instances if `sid` is "*".
std::vector<std::string> executed_statements(const std::filesystem::path& sandbox,
                                             const std::string& sid = "*");
/// The details of all "leak" records: empty if every handle was freed.
std::vector<std::string> read_leaks(const std::filesystem::path& sandbox);
void clear_journal(const std::filesystem::path& sandbox);

}  // namespace sandbox
