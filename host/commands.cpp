#include "host/commands.h"

#include <filesystem>
#include <ostream>
#include <stdexcept>

#include "host/hints.h"
#include "host/log_watch.h"
#include "host/system.h"
#include "host/text.h"
#include "sandbox/native.h"

namespace host {

namespace fs = std::filesystem;

std::string chosen_sandbox(const arguments_t& arguments) {
    return arguments.has("--sandbox") ? arguments.get("--sandbox")
                                      : sandbox::environment("ORALIB_SANDBOX");
}

fs::path existing_sandbox(const std::string& directory) {
    if (!fs::exists(fs::u8path(directory) / "registry.reg")) {
        throw std::runtime_error(directory + " is not a sandbox: it has no registry.reg");
    }
    return fs::u8path(directory);
}

std::unique_ptr<module_t> open_module(const arguments_t& arguments) {
    const std::string directory = chosen_sandbox(arguments);
    if (!directory.empty()) {
        const fs::path server = fs::absolute(existing_sandbox(directory));
        sandbox::set_environment("ORALIB_SANDBOX", server.u8string());
        sandbox::use_registry(server);
        // Only the stand-in serves a sandbox. Once it is loaded, the module's own look-up by name
        // finds it, ahead of a real client library in the loader's search path.
        const fs::path client = sandbox::stand_in_folder() / client_file_name;
        if (fs::exists(client)) {
            static const sandbox::library_t stand_in(client);
        }
    }
    std::string file = arguments.get("--library");
    if (file.empty()) {
        file = sandbox::environment("ORALIB_LIBRARY");
    }
    try {
        return std::make_unique<module_t>(
            file.empty() ? executable_folder() / module_file_name : fs::absolute(fs::u8path(file)),
            log_name(arguments));
    } catch (const module_error_t& e) {
        if (!directory.empty()) {
            throw;
        }
        throw module_error_t(std::string(e.what()) + "\n" + hint_without_sandbox);
    }
}

void print_failure(std::ostream& stream, const std::string& text, bool trace) {
    for (const std::string& line : failure_lines(text, trace)) {
        stream << "oralib-host: " << line << "\n";
    }
    print_hints(stream, text, "oralib-host: ");
}

}  // namespace host
