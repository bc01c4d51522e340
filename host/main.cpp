// oralib-host: drives the oralib module from a command line.
#include <iostream>

#include "host/commands.h"
#include "host/system.h"

namespace {

std::vector<host::command_t> all_commands() {
    std::vector<host::command_t> all;
    for (const auto& commands :
         {host::demo_commands(), host::explore_commands(), host::backup_commands(),
          host::job_commands(), host::logs_commands(), host::simple_commands(),
          host::sandbox_commands()}) {
        all.insert(all.end(), commands.begin(), commands.end());
    }
    return all;
}

host::exit_code run(const std::vector<host::command_t>& commands, const std::string& program,
                    const std::vector<std::string>& words) {
    const host::command_line_t line = host::parse(commands, program, words);
    if (line.arguments.has("--version")) {
        std::cout << "oralib-host " ORALIB_HOST_VERSION "\n";
        return host::all_well;
    }
    if (line.arguments.has("--help")) {
        std::cout << (line.command ? host::help_on(*line.command)
                                   : host::help_on(commands, line.topic));
        return host::all_well;
    }
    try {
        return line.command->run(line.arguments);
    } catch (const host::usage_error_t&) {
        throw;
    } catch (const std::exception& e) {
        host::print_failure(std::cerr, e.what(), line.arguments.has("--trace"));
        return host::failed;
    }
}

}  // namespace

int main(int argc, char** argv) {
    host::search_no_libraries_here();
    const std::string program = argc > 0 ? argv[0] : "oralib-host";
    const std::vector<std::string> words = host::command_line_words(argc, argv);
    const host::utf8_output_t utf8_output;
    try {
        const host::exit_code code = run(all_commands(), program, words);
        if (!std::cout.flush()) {
            std::cerr << "oralib-host: cannot write to standard output\n";
            return code == host::all_well ? host::failed : code;
        }
        return code;
    } catch (const host::usage_error_t& e) {
        std::cerr << "oralib-host: " << e.what() << "\nTry '" << program << " --help'.\n";
        return host::wrong_usage;
    }
}
