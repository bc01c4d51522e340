// logs ..., retention: archived logs, staged and deleted.
#include <algorithm>
#include <iostream>
#include <set>

#include "host/backup_document.h"
#include "host/commands.h"
#include "host/explore_document.h"
#include "host/files.h"
#include "host/logon.h"
#include "host/progress.h"
#include "host/quantity.h"
#include "host/system.h"
#include "host/table.h"
#include "host/text.h"

namespace host {

namespace {

void print_logs(const std::vector<staged_log_t>& logs) {
    table_t table({{"SID"},
                   {"LOG", true},
                   {"FROM SCN", true},
                   {"TO SCN", true},
                   {"SIZE", true},
                   {"STAGED"},
                   {"FILE"}});
    for (const staged_log_t& log : logs) {
        table.add({log.sid, std::to_string(log.sequence), std::to_string(log.first_change),
                   std::to_string(log.next_change), to_human_size(log.bytes),
                   log.is_copy ? "copy" : "in place", log.path});
    }
    table.print(std::cout, "Archived logs");
}

exit_code show_list(const arguments_t& arguments, const std::string& list) {
    if (arguments.has("--xml")) {
        std::cout << list << "\n";
        return all_well;
    }
    const std::vector<staged_log_t> logs = read_log_list(list);
    print_logs(logs);
    std::cout << (logs.empty() ? "No log is described in the staging folder.\n" : "");
    return all_well;
}

// The home of an instance, as the module finds it.
std::string home_of(module_t& module, const std::string& sid, const logon_t& logon) {
    const explore_document_t document = read_explore_document(module.explore(false, logon, ""));
    for (const auto& home : document.homes) {
        for (const auto& database : home.databases) {
            if (database.sid == sid) {
                return home.path;
            }
        }
    }
    throw std::runtime_error("no database " + sid + " on this machine; --home PATH names its home");
}

std::string chosen_home(module_t& module, const arguments_t& arguments, const logon_t& logon) {
    return arguments.has("--home") ? arguments.get("--home")
                                   : home_of(module, arguments.operands[0], logon);
}

exit_code backup(const arguments_t& arguments) {
    const logon_t logon = get_logon(arguments);
    const auto module = open_module(arguments);
    const std::string home = chosen_home(*module, arguments, logon);
    std::string list;
    {
        const progress_t progress("staging");
        list = module->backup_logs(home, arguments.operands[0], arguments.get("--mark"),
                                   arguments.get("--after"), logon);
    }
    return show_list(arguments, list);
}

exit_code list(const arguments_t& arguments) {
    return show_list(arguments, open_module(arguments)->list_logs());
}

exit_code save(const arguments_t& arguments) {
    const std::string list = open_module(arguments)->list_logs();
    write_whole(arguments.operands[0], list);
    std::cout << "Wrote the list of " << read_log_list(list).size() << " logs to "
              << arguments.operands[0] << ".\n";
    return all_well;
}

exit_code remove(const arguments_t& arguments) {
    const std::string text = read_text(arguments.operands[0]);
    const std::size_t count = read_log_list(text).size();
    open_module(arguments)->remove_logs(text);
    std::cout << count << " logs of the list are gone from the staging folder.\n";
    return all_well;
}

exit_code verify(const arguments_t& arguments) {
    const std::string text = arguments.operands.empty() ? open_module(arguments)->list_logs()
                                                        : read_text(arguments.operands[0]);
    const std::vector<staged_log_t> logs = read_log_list(text);
    std::vector<std::string> findings = find_gaps(logs);
    for (const staged_log_t& log : logs) {
        std::error_code error;
        const auto size = std::filesystem::file_size(native_path(log.path), error);
        if (error) {
            findings.push_back(log.path + " is not there");
        } else if (size != log.bytes) {
            findings.push_back(log.path + " has " + std::to_string(size) +
                               " bytes, and its description " + std::to_string(log.bytes));
        }
    }
    for (const std::string& finding : findings) {
        std::cout << finding << "\n";
    }
    std::cout << logs.size() << " logs, "
              << (findings.empty() ? std::string("nothing amiss")
                                   : std::to_string(findings.size()) + " findings")
              << ".\n";
    return findings.empty() ? all_well : some_left_out;
}

// The newest are told by their sequence numbers, which begin anew with each incarnation. Which ones
// there are, only the descriptions of staged logs tell without touching the database.
std::string incarnation_warning(module_t& module, const std::string& sid) {
    std::set<std::string> incarnations;
    for (const staged_log_t& log : read_log_list(module.list_logs())) {
        if (log.sid == sid) {
            incarnations.insert(log.resetlogs);
        }
    }
    if (incarnations.size() == 1) {
        return "";
    }
    return incarnations.empty()
               ? "The newest are told by their sequence numbers alone: after a RESETLOGS look at\n"
                 "V$ARCHIVED_LOG first whether logs of an older incarnation are left.\n"
               : "WARNING: logs of " + std::to_string(incarnations.size()) +
                     " incarnations are known. The newest are told by their sequence numbers\n"
                     "alone, so that new logs of the younger one may go before old ones of the "
                     "elder.\n";
}

exit_code retention(const arguments_t& arguments) {
    const bool by_age = arguments.has("--older-than");
    if (by_age == arguments.has("--keep")) {
        throw usage_error_t("'retention' needs one of --older-than and --keep");
    }
    const std::int32_t minutes = by_age ? read_time(arguments.get("--older-than")) / 60 : 0;
    const std::int64_t limit = by_age ? 0 : read_size(arguments.get("--keep"));
    const std::string& sid = arguments.operands[0];
    if (!arguments.has("--confirm")) {
        std::cout << "Would let " << sid << " delete "
                  << (by_age ? "the archived logs that ended more than " + std::to_string(minutes) +
                                   " minutes ago"
                             : "all archived logs but the newest " +
                                   to_human_size(static_cast<std::uint64_t>(limit)))
                  << ",\nfrom its destination and its catalogue.\n"
                  << (by_age ? "" : incarnation_warning(*open_module(arguments), sid))
                  << "Nothing was deleted. Add --confirm to do it.\n";
        return all_well;
    }
    const logon_t logon = get_logon(arguments);
    const auto module = open_module(arguments);
    const std::string home = chosen_home(*module, arguments, logon);
    const progress_t progress("deleting");
    if (by_age) {
        module->delete_logs_by_time(home, sid, minutes, logon);
    } else {
        module->delete_logs_by_size(home, sid, limit, logon);
    }
    std::cout << "Done; the log tells of each that " << sid << " deleted or refused to delete.\n";
    return all_well;
}

}  // namespace

std::vector<command_t> logs_commands() {
    const option_t home = {"--home", "PATH", "the database's home (default: as explore finds it)"};
    const option_t xml = {"--xml", "", "print the list document, UTF-8, and nothing else"};
    return {
        {"logs backup",
         {"SID"},
         "Make the archived logs of a database available as files",
         "Logs in ASM are copied to the staging folder; those on disk stay, and are described.\n",
         with_logon({{"--after", "RECID", "only those catalogued behind this record"},
                     {"--mark", "TEXT", "a text of yours that each description keeps"},
                     home,
                     xml}),
         backup},
        {"logs list", {}, "Show the logs in the staging folder", "", {xml}, list},
        {"logs save", {"FILE"}, "Write the list document of the staged logs", "", {}, save},
        {"logs remove",
         {"FILE"},
         "Remove the logs of a list document from the staging folder",
         "Only copies are deleted, and descriptions; a database's own file never is.\n",
         {},
         remove},
        {"logs verify",
         {"[FILE]"},
         "Check the staged logs, or those of a list, for gaps and overlaps",
         "By SCN and incarnation, without a database; and each file against its description.\n",
         {},
         verify},
        {"retention",
         {"SID"},
         "Let a database delete its old archived logs",
         "Shows what it would do, and does it with --confirm.\n",
         with_logon({{"--older-than", "AGE", "those that ended before: 90m, 12h, 2d"},
                     {"--keep", "SIZE", "all but the newest of this total: 500MiB, 20GiB"},
                     {"--confirm", "", "do it"},
                     home}),
         retention},
    };
}

}  // namespace host
