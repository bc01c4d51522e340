#include "host/backup_steps.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

#include "host/backup_document.h"
#include "host/explore_document.h"
#include "host/files.h"
#include "host/hints.h"
#include "host/log_watch.h"
#include "host/progress.h"
#include "host/system.h"
#include "host/table.h"
#include "host/text.h"

namespace host {

namespace {

void print_prepared(const std::vector<prepared_db_t>& databases, bool trace) {
    table_t table({{"SID"}, {"VERDICT"}, {"SCN", true}, {"TIME (UTC)"}, {"LOGS", true}});
    for (const prepared_db_t& database : databases) {
        table.add({database.sid, verdict_of(database), database.scn, database.time_utc,
                   std::to_string(database.logs)});
    }
    table.print(std::cout, "Databases");
    for (const prepared_db_t& database : databases) {
        if (!database.error.empty()) {
            std::cout << "\n" << database.sid << ":\n";
            for (const std::string& line : failure_lines(database.error, trace)) {
                std::cout << "  " << line << "\n";
            }
            print_hints(std::cout, database.error);
        }
    }
}

std::filesystem::path meta_path(module_t& module) {
    return native_path(module.logs_folder() + "\\OracleMeta.xml");
}

struct finish_verdict_t {
    const char* words;
    bool is_well;
};

// The module answers that all is well when one database failed, and has nothing to say of one that
// it did not find open; its log tells.
finish_verdict_t verdict_of_finish(int action, const finish_log_t& log) {
    if (action == 3) {
        return log.trouble.empty() && log.came_to_its_end
                   ? finish_verdict_t{"started again", true}
                   : finish_verdict_t{"MAY STILL BE DOWN", false};
    }
    if (action != 2) {
        return {"nothing to do", true};
    }
    if (!log.backup_was_ended) {
        return {"NOT OPEN: MAY STILL BE IN BACKUP MODE", false};
    }
    if (log.trouble.empty()) {
        return {"backup mode ended", true};
    }
    if (log.was_in_no_backup_mode) {
        return {"was in no backup mode", true};
    }
    return {"MAY STILL BE IN BACKUP MODE", false};
}

exit_code print_finished(const std::vector<prepared_db_t>& databases, const std::string& log,
                         bool trace) {
    table_t table({{"SID"}, {"VERDICT"}});
    exit_code code = all_well;
    std::string trouble;
    for (const prepared_db_t& database : databases) {
        const finish_log_t lines = read_finish_log(log, database.sid);
        const finish_verdict_t verdict = verdict_of_finish(database.action, lines);
        table.add({database.sid, verdict.words});
        if (!verdict.is_well) {
            code = in_backup_mode;
            for (const std::string& line : lines.trouble) {
                trouble += line + "\n";
            }
        }
    }
    table.print(std::cout, "Databases");
    for (const std::string& line : failure_lines(trouble, trace)) {
        std::cout << "  " << line << "\n";
    }
    print_hints(std::cout, trouble);
    return code;
}

}  // namespace

std::string sandbox_words(const arguments_t& arguments) {
    return arguments.has("--sandbox") ? " --sandbox " + arguments.get("--sandbox") : "";
}

exit_code prepare_into(const std::string& file, module_t& module, const arguments_t& arguments,
                       const logon_t& logon, std::string& document) {
    const std::string config = read_option_file(arguments, "--config");
    if (has_content(file)) {
        throw std::runtime_error(file +
                                 " exists: it may be the only memory of a backup; finish that "
                                 "first, or name another file");
    }
    // Tells already whether the file can be written at all.
    write_whole(file, "");
    {
        const progress_t progress("preparing");
        const std::string intent =
            make_intent_document(read_explore_document(module.explore(false, logon, config)));
        write_whole(file, intent);
        document = intent;
        document = module.prepare(logon, {}, config);
        write_whole(file, document);
    }
    const std::vector<prepared_db_t> databases = read_prepare_document(document);
    print_prepared(databases, arguments.has("--trace"));
    if (!could_be_restored(document, module)) {
        std::cout << "\nA snapshot taken now could not be restored: "
                  << meta_path(module).u8string() << " is not of this prepare; the log says why.\n";
        return some_left_out;
    }
    for (const prepared_db_t& database : databases) {
        if (!is_protected(database)) {
            return some_left_out;
        }
    }
    return all_well;
}

exit_code finish_by(const std::string& document, module_t& module, const arguments_t& arguments,
                    const logon_t& logon) {
    const log_watch_t watch(arguments);
    {
        const progress_t progress("finishing");
        module.finish(document, logon);
    }
    return print_finished(read_prepare_document(document), watch.written_since(),
                          arguments.has("--trace"));
}

void put_away(const std::string& file) {
    namespace fs = std::filesystem;
    fs::rename(fs::u8path(file), fs::u8path(file + ".done"));
}

bool could_be_restored(const std::string& document, module_t& module) {
    const auto databases = read_prepare_document(document);
    const bool is_any = std::any_of(databases.begin(), databases.end(), [](const auto& database) {
        return database.action >= 2 && database.action <= 4;
    });
    return !is_any || read_meta_document(module) == document;
}

std::string read_meta_document(module_t& module) {
    try {
        const std::string document = document_of_meta(read_text(meta_path(module).u8string()));
        read_prepare_document(document);
        return document;
    } catch (const std::runtime_error&) {
        return "";
    }
}

}  // namespace host
