#include "oracle/connect/server_files.h"

#include <algorithm>
#include <cstdint>
#include <exception>

#include "oracle/connect/cmd_exec.h"
#include "oracle/connect/sql_text.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"

namespace specific::oracle {

using logging::g_oralib_log;
using util::format_message;

namespace {

void run(const COracleSession& session, const std::string& text) {
    session.cmd_exec(text)->execute();
}

void create_directory(const COracleSession& session, const std::string& name,
                      const std::string& folder) {
    run(session, format_message("CREATE DIRECTORY %1 AS '%2'", name, sql_literal(folder)));
}

void drop_directory(const COracleSession& session, const std::string& name) {
    run(session, format_message("DROP DIRECTORY %1", name));
}

char directory_name_character(char c) {
    if (c == '{' || c == '}' || c == '-') {
        return '_';
    }
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

bool is_asm_path(const std::wstring& path) {
    return path.find(L'+') == 0;
}

std::string make_directory_name() {
    constexpr std::size_t length_of_guid_part = 25;
    std::string name = util::to_ansi(win::make_guid_text()).substr(0, length_of_guid_part);
    std::transform(name.begin(), name.end(), name.begin(), directory_name_character);
    return "D" + name;
}

void copy_asm_file(const COracleSession& session, const std::string& from, const std::string& to) {
    try {
        std::string source_folder;
        std::string source_name;
        win::split_path(from, source_folder, source_name);
        std::string target_folder;
        std::string target_name;
        win::split_path(to, target_folder, target_name);

        const std::string source = make_directory_name();
        const std::string target = make_directory_name();
        create_directory(session, source, source_folder);
        create_directory(session, target, target_folder);
        run(session,
            format_message("BEGIN\n DBMS_FILE_TRANSFER.COPY_FILE('%1', '%2', '%3', '%4');\n END;",
                           source, sql_literal(source_name), target, sql_literal(target_name)));
        drop_directory(session, source);
        drop_directory(session, target);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to copy ASM file, from: [%1], to: [%2]", from, to, e);
    }
}

bool asm_file_exists(const COracleSession& session, const std::string& path) {
    try {
        const auto command = session.cmd_exec(
            "BEGIN \n DBMS_DISKGROUP.GETFILEATTR(:fname,:ftype,:fsize,:blksize); \n END;");
        std::string name = path;
        std::int32_t type = 0;
        std::int32_t size = 0;
        std::int32_t block_size = 0;
        command->bind(":fname", name.data(), SQLT_STR, static_cast<sb4>(name.size() + 1));
        command->bind(":ftype", &type, SQLT_INT, sizeof type);
        command->bind(":fsize", &size, SQLT_INT, sizeof size);
        command->bind(":blksize", &block_size, SQLT_INT, sizeof block_size);
        command->execute();
        g_oralib_log.line("ASM file: %1, type: %2, size: %3", path, util::to_string(type),
                          util::to_string(size));
        return true;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to check if ASM file exists: [%1]", path, e);
        return false;
    }
}

void remove_file_with_query(const COracleSession& session, const std::wstring& path) {
    std::string folder;
    std::string file_name;
    win::split_path(util::to_ansi(path), folder, file_name);
    const std::string directory = make_directory_name();
    create_directory(session, directory, folder);
    run(session, format_message("BEGIN\n UTL_FILE.FREMOVE('%1', '%2');\n END;", directory,
                                sql_literal(file_name)));
    drop_directory(session, directory);
}

}  // namespace specific::oracle
