// explore: what a backup agent would see.
#include <fstream>
#include <iostream>
#include <iterator>

#include "host/commands.h"
#include "host/explore_report.h"
#include "host/password.h"
#include "host/progress.h"

namespace host {

namespace {

std::string read_file(const std::string& file) {
    std::ifstream stream(std::filesystem::u8path(file), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
        throw std::runtime_error("cannot read " + file);
    }
    static const std::string byte_order_mark = "\xEF\xBB\xBF";
    return text.rfind(byte_order_mark, 0) == 0 ? text.substr(byte_order_mark.size()) : text;
}

logon_t get_logon(const arguments_t& arguments) {
    logon_t logon;
    logon.user = arguments.get("--user");
    if (!logon.user.empty()) {
        logon.password = get_password(logon.user, arguments.get("--password-file"));
    }
    return logon;
}

exit_code explore(const arguments_t& arguments) {
    if (arguments.has("--xml") && arguments.has("--files")) {
        throw usage_error_t("--files does not go with --xml, whose document has all files");
    }
    if (arguments.has("--password-file") && !arguments.has("--user")) {
        throw usage_error_t("--password-file needs --user");
    }
    const std::string config =
        arguments.has("--config") ? read_file(arguments.get("--config")) : "";
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
    return count_failed(document) == 0 ? all_well : some_unreadable;
}

}  // namespace

std::vector<command_t> explore_commands() {
    return {
        {"explore",
         {},
         "Show the Oracle homes, databases, ASM disks and what could not be read",
         "Without --user the databases are asked to trust the operating system's logon. A\n"
         "password comes from --password-file, else from ORALIB_PASSWORD, else from a prompt.\n",
         {{"--files", "", "list each file of each database"},
          {"--pfile", "", "fetch and show the parameter files"},
          {"--xml", "", "print the explore document, UTF-8, and nothing else"},
          {"--config", "FILE", "explore input, UTF-8: databases to leave out, log positions"},
          {"--user", "NAME", "log on to the databases as this user"},
          {"--password-file", "FILE", "the user's password is the first line of this file"}},
         explore}};
}

}  // namespace host
