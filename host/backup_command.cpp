// prepare, finish, restore: around a volume snapshot, and after its image came back.
#include <iostream>
#include <map>

#include "host/backup_document.h"
#include "host/backup_steps.h"
#include "host/explore_document.h"
#include "host/files.h"
#include "host/hints.h"
#include "host/log_watch.h"
#include "host/logon.h"
#include "host/progress.h"
#include "host/table.h"
#include "host/text.h"

namespace host {

namespace {

exit_code prepare(const arguments_t& arguments) {
    const std::string& file = arguments.operands[0];
    const logon_t logon = get_logon(arguments);
    const auto module = open_module(arguments);
    std::string document;
    const exit_code code = prepare_into(file, *module, arguments, logon, document);
    std::cout << "\nTake the snapshot now, then always: " << arguments.program
              << sandbox_words(arguments) << " finish " << file << "\n";
    return code;
}

exit_code finish(const arguments_t& arguments) {
    const std::string& file = arguments.operands[0];
    const std::string text = read_text(file);
    const logon_t logon = get_logon(arguments);
    const auto module = open_module(arguments);
    const exit_code code = finish_by(text, *module, arguments, logon);
    if (code == all_well) {
        put_away(file);
        std::cout << "\nThe document is kept as " << file << ".done.\n";
    } else {
        std::cout << "\nWhen the cause is gone, run it again: " << arguments.program
                  << sandbox_words(arguments) << " finish " << file << "\n";
    }
    return code;
}

exit_code restore_check(const arguments_t& arguments) {
    const bool required = open_module(arguments)->is_restore_required();
    std::cout << (required ? "This machine was brought back from an image, or a backup is under "
                             "way: there is a meta file.\n"
                           : "There is nothing to be restored.\n");
    return all_well;
}

struct restore_verdict_t {
    const char* words;
    bool is_well;
};

restore_verdict_t verdict_of_restore(const prepared_db_t& database, bool is_open,
                                     bool backup_was_ended) {
    const bool was_in_backup = database.action == 2 || database.action == 4;
    if (!was_in_backup && database.action != 3) {
        return {"nothing was recorded for it", true};
    }
    if (is_open) {
        return {"open", true};
    }
    if (database.autostart) {
        return {"NOT OPEN", false};
    }
    if (database.action == 3) {
        return {"left down, as its autostart says", true};
    }
    return backup_was_ended ? restore_verdict_t{"out of backup mode, left to be opened", true}
                            : restore_verdict_t{"MAY STILL BE IN BACKUP MODE", false};
}

exit_code restore_run(const arguments_t& arguments) {
    const auto module = open_module(arguments);
    const log_watch_t watch(arguments);
    const std::string document = read_meta_document(*module);
    std::map<std::string, bool> is_open;
    std::string log;
    {
        const progress_t progress("restoring");
        module->restore();
        log = watch.written_since();
        for (const auto& home : read_explore_document(module->explore(false, {}, "")).homes) {
            for (const auto& database : home.databases) {
                is_open[database.sid] = !database.is_error;
            }
        }
    }
    table_t table({{"SID"}, {"RECORDED"}, {"NOW"}});
    exit_code code = all_well;
    std::string trouble;
    for (const prepared_db_t& database : read_prepare_document(document)) {
        const finish_log_t lines = read_finish_log(log, database.sid);
        const restore_verdict_t verdict =
            verdict_of_restore(database, is_open[database.sid], lines.backup_was_ended);
        table.add({database.sid, action_word(database.action), verdict.words});
        if (!verdict.is_well) {
            code = some_left_out;
            for (const std::string& line : lines.trouble) {
                trouble += line + "\n";
            }
        }
    }
    table.print(std::cout, "Databases");
    for (const std::string& line : failure_lines(trouble, arguments.has("--trace"))) {
        std::cout << "  " << line << "\n";
    }
    print_hints(std::cout, trouble);
    return code;
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
         "Always, also when the snapshot failed. Where a database could not be finished, FILE\n"
         "stays and it may be run again; else FILE becomes FILE.done.\n",
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
