// job, recover: a whole backup in one command, and what is left of one that was cut off.
#include <iostream>

#include "host/backup_steps.h"
#include "host/child.h"
#include "host/files.h"
#include "host/log_watch.h"
#include "host/logon.h"
#include "host/quantity.h"
#include "host/system.h"

namespace host {

namespace {

constexpr std::int32_t default_limit_seconds = 3600;
// Finishing takes the meta file away, so what was in it is kept meanwhile.
const char* const meta_ending = ".meta";

// With the module open, as that decides where its paths lead.
std::string document_file(const arguments_t& arguments) {
    const std::string file = arguments.get("--document");
    return file.empty()
               ? (native_path(log_name(arguments)).parent_path() / "oralib-host-prepared.xml")
                     .u8string()
               : file;
}

// Whatever happened before, whoever calls must not be left without this.
exit_code finish_file(const std::string& file, const std::string& document, module_t& module,
                      const arguments_t& arguments, const logon_t& logon) {
    try {
        const exit_code code = finish_by(document, module, arguments, logon);
        if (code == all_well) {
            put_away(file);
            return code;
        }
    } catch (const std::exception& e) {
        print_failure(std::cerr, e.what(), arguments.has("--trace"));
    }
    std::cout << "\nWhen the cause is gone: " << arguments.program << sandbox_words(arguments)
              << " finish " << file << "\n";
    return in_backup_mode;
}

exit_code run_command(const arguments_t& arguments, std::chrono::seconds limit) {
    if (end_requests_t::was_asked()) {
        std::cout << "\nAsked to end: the command is not run.\n";
        return failed;
    }
    std::cout << std::endl;
    const child_outcome_t outcome = run_child(arguments.operands, limit);
    switch (outcome.how) {
        case child_end::timed_out:
            std::cout << "\nThe command took too long and was ended.\n";
            return timed_out;
        case child_end::interrupted:
            std::cout << "\nAsked to end: the command was ended too.\n";
            return failed;
        case child_end::exited:
            break;
    }
    std::cout << "\nThe command ended with " << outcome.exit_code << ".\n";
    return outcome.exit_code == 0 ? all_well : failed;
}

exit_code job(const arguments_t& arguments) {
    const std::chrono::seconds limit(arguments.has("--time-limit")
                                         ? read_time(arguments.get("--time-limit"))
                                         : default_limit_seconds);
    const logon_t logon = get_logon(arguments);
    const auto module = open_module(arguments);
    const std::string file = document_file(arguments);
    if (has_content(file) || has_content(file + meta_ending)) {
        throw std::runtime_error(file +
                                 " is of a job that was cut off; first: " + arguments.program +
                                 sandbox_words(arguments) + " recover --document " + file);
    }
    const end_requests_t requests;
    exit_code prepared = failed;
    exit_code commanded = failed;
    std::string document;  // the command may reach the file
    try {
        prepared = prepare_into(file, *module, arguments, logon, document);
        commanded =
            could_be_restored(document, *module) ? run_command(arguments, limit) : some_left_out;
    } catch (const std::exception& e) {
        print_failure(std::cerr, e.what(), arguments.has("--trace"));
        if (document.empty()) {
            return failed;  // nothing was touched
        }
    }
    const exit_code finished = finish_file(file, document, *module, arguments, logon);
    return finished != all_well ? finished : commanded != all_well ? commanded : prepared;
}

exit_code recover(const arguments_t& arguments) {
    const logon_t logon = get_logon(arguments);
    const auto module = open_module(arguments);
    const std::string file = document_file(arguments);
    const std::string meta = read_meta_document(*module);
    // Where the job was cut off while preparing, the one may know what the other does not.
    if (!meta.empty() && (!has_content(file) || read_text(file) != meta)) {
        write_whole(file + meta_ending, meta);
    }
    exit_code code = all_well;
    bool is_any = false;
    for (const std::string& saved : {file + meta_ending, file}) {
        if (has_content(saved)) {
            is_any = true;
            std::cout << "By " << saved << ":\n";
            const exit_code finished =
                finish_file(saved, read_text(saved), *module, arguments, logon);
            code = code == all_well ? finished : code;
        }
    }
    if (!is_any) {
        std::cout << "No job left anything behind.\n";
    }
    return code;
}

}  // namespace

std::vector<command_t> job_commands() {
    const option_t document = {"--document", "FILE",
                               "where the prepare document is kept (default: beside the log)"};
    return {
        {"job",
         {"COMMAND..."},
         "Prepare, run the snapshot command, and always finish",
         "Write '--' ahead of COMMAND, so that its options are its own. It is ended when it takes\n"
         "too long or when this program is asked to end; the databases are finished then too.\n",
         with_logon({{"--config", "FILE", "databases to leave out, log positions, UTF-8"},
                     {"--time-limit", "TIME", "for COMMAND: 30s, 90m, 12h (default: 60m)"},
                     document}),
         job},
        {"recover",
         {},
         "Finish what a job that was cut off left behind",
         "On this machine. On one that was brought back from an image, 'restore run' does it.\n",
         with_logon({document}),
         recover},
    };
}

}  // namespace host
