// prepare, finish, recover, restore: around a volume snapshot, and after its image came back.
#include <iostream>

#include "host/backup_document.h"
#include "host/commands.h"
#include "host/files.h"
#include "host/log_watch.h"
#include "host/logon.h"
#include "host/progress.h"
#include "host/table.h"
#include "host/text.h"

namespace host {

namespace {

// So that a command that is shown can be run as it stands.
std::string sandbox_words(const arguments_t& arguments) {
    return arguments.has("--sandbox") ? " --sandbox " + arguments.get("--sandbox") : "";
}

void print_failures(const std::vector<prepared_db_t>& databases, bool trace) {
    for (const prepared_db_t& database : databases) {
        if (!database.error.empty()) {
            std::cout << "\n" << database.sid << ":\n";
            for (const std::string& line : failure_lines(database.error, trace)) {
                std::cout << "  " << line << "\n";
            }
        }
    }
}

exit_code prepare(const arguments_t& arguments) {
    const std::string file = arguments.operands[0];
    const std::string config = read_option_file(arguments, "--config");
    const logon_t logon = get_logon(arguments);
    if (has_content(file)) {
        throw std::runtime_error(file +
                                 " exists: it may be the only memory of a backup; 'finish' " +
                                 "it, or name another file");
    }
    // Before anything is changed: what was done must not be lost for want of a place.
    write_whole(file, "");
    std::string text;
    {
        const auto module = open_module(arguments);
        const progress_t progress("preparing");
        text = module->prepare(logon, {}, config);
    }
    write_whole(file, text);

    const std::vector<prepared_db_t> databases = read_prepare_document(text);
    table_t table({{"SID"}, {"VERDICT"}, {"SCN", true}, {"TIME (UTC)"}, {"LOGS", true}});
    exit_code code = all_well;
    for (const prepared_db_t& database : databases) {
        table.add({database.sid, verdict_of(database), database.scn, database.time_utc,
                   std::to_string(database.logs)});
        code = is_protected(database) ? code : some_left_out;
    }
    table.print(std::cout, "Databases");
    print_failures(databases, arguments.has("--trace"));
    std::cout << "\nTake the snapshot now, then always: " << arguments.program
              << sandbox_words(arguments) << " finish " << file << "\n";
    return code;
}

// The module answers that all is well when one database failed; its log tells.
exit_code report_finish(const std::vector<prepared_db_t>& databases, const std::string& log,
                        bool trace) {
    table_t table({{"SID"}, {"VERDICT"}});
    exit_code code = all_well;
    std::vector<std::string> trouble;
    for (const prepared_db_t& database : databases) {
        const std::vector<std::string> lines = trouble_of_finish(log, database.sid);
        if (database.action != 2 && database.action != 3) {
            table.add({database.sid, "nothing to do"});
        } else if (lines.empty()) {
            table.add({database.sid, database.action == 2 ? "backup mode ended" : "started again"});
        } else {
            table.add({database.sid,
                       database.action == 2 ? "MAY STILL BE IN BACKUP MODE" : "MAY STILL BE DOWN"});
            trouble.insert(trouble.end(), lines.begin(), lines.end());
            code = in_backup_mode;
        }
    }
    table.print(std::cout, "Databases");
    for (const std::string& line : trouble) {
        if (trace || line.rfind("--tr:", 0) != 0) {
            std::cout << "  " << line << "\n";
        }
    }
    return code;
}

exit_code finish_by(const arguments_t& arguments, const std::string& file) {
    const std::string text = read_text(file);
    const std::vector<prepared_db_t> databases = read_prepare_document(text);
    const logon_t logon = get_logon(arguments);
    const auto module = open_module(arguments);
    const log_watch_t watch(arguments);
    {
        const progress_t progress("finishing");
        module->finish(text, logon);
    }
    const exit_code code =
        report_finish(databases, watch.written_since(), arguments.has("--trace"));
    if (code != all_well) {
        std::cout << "\nWhen the cause is gone, run it again: " << arguments.program
                  << sandbox_words(arguments) << " finish " << file << "\n";
    }
    return code;
}

exit_code finish(const arguments_t& arguments) {
    return finish_by(arguments, arguments.operands[0]);
}

exit_code restore_check(const arguments_t& arguments) {
    const bool required = open_module(arguments)->is_restore_required();
    std::cout << (required ? "This machine was brought back from an image, or a backup is under "
                             "way: there is a meta file.\n"
                           : "There is nothing to be restored.\n");
    return all_well;
}

exit_code restore_run(const arguments_t& arguments) {
    const auto module = open_module(arguments);
    const log_watch_t watch(arguments);
    {
        const progress_t progress("restoring");
        module->restore();
    }
    const std::vector<std::string> failures = all_failures(watch.written_since());
    for (const std::string& line : failures) {
        std::cout << "  " << line << "\n";
    }
    std::cout << (failures.empty() ? "All databases are as they were recorded.\n"
                                   : "Some databases need attention.\n");
    return failures.empty() ? all_well : some_left_out;
}

}  // namespace

std::vector<command_t> backup_commands() {
    return {
        {"prepare",
         {"FILE"},
         "Bring the databases into a state in which a snapshot can be restored",
         "What was done is written to FILE, which 'finish' needs. A database is put into backup\n"
         "mode, or shut down where it has no archive log mode.\n",
         with_logon({{"--config", "FILE", "databases to leave out, log positions, UTF-8"}}),
         prepare},
        {"finish",
         {"FILE"},
         "Undo what 'prepare' did, by its FILE",
         "Always, also when the snapshot failed; it may be run again.\n",
         with_logon({}),
         finish},
        {"restore check", {}, "Tell whether databases await completion", "", {}, restore_check},
        {"restore run",
         {},
         "Complete the databases of a machine brought back from an image",
         "Once: what is needed for it is taken away at its beginning.\n",
         {},
         restore_run},
    };
}

}  // namespace host
