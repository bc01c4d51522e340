// explore: what a backup agent would see.
#include <iostream>

#include "host/commands.h"
#include "host/explore_report.h"
#include "host/files.h"
#include "host/logon.h"
#include "host/progress.h"

namespace host {

namespace {

exit_code explore(const arguments_t& arguments) {
    if (arguments.has("--xml") && arguments.has("--files")) {
        throw usage_error_t("--files does not go with --xml, whose document has all files");
    }
    const std::string config = read_option_file(arguments, "--config");
    const logon_t logon = get_logon(arguments);

    const auto module = open_module(arguments);
    std::string text;
    {
        const progress_t progress("exploring");
        text = module->explore(arguments.has("--pfile"), logon, config);
    }
    // Printed as it came even where it cannot be read.
    if (arguments.has("--xml")) {
        std::cout << text << "\n";
    }
    const explore_document_t document = read_explore_document(text);
    if (!arguments.has("--xml")) {
        print_report(
            std::cout, document,
            {arguments.has("--files"), arguments.has("--pfile"), arguments.has("--trace")});
    }
    return count_failed(document) == 0 ? all_well : some_left_out;
}

}  // namespace

std::vector<command_t> explore_commands() {
    return {
        {"explore",
         {},
         "Show the Oracle homes, databases, ASM disks and what could not be read",
         "Without --user the databases are asked to trust the operating system's logon. A\n"
         "password comes from --password-file, else from ORALIB_PASSWORD, else from a prompt.\n",
         with_logon(
             {{"--files", "", "list each file of each database"},
              {"--pfile", "", "fetch and show the parameter files"},
              {"--xml", "", "print the explore document, UTF-8, and nothing else"},
              {"--config", "FILE", "explore input, UTF-8: databases to leave out, log positions"}}),
         explore}};
}

}  // namespace host
