// demo: the whole road of a backup, on a server and a restored machine made for it.
#include <chrono>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "host/child.h"
#include "host/commands.h"
#include "sandbox/native.h"

namespace host {

namespace {

namespace fs = std::filesystem;

// Each station is a command line that can be typed as it is shown.
class road_t {
  public:
    road_t(std::string program, std::string server)
        : m_program(std::move(program)), m_server(std::move(server)) {}

    void say(const std::string& text) { std::cout << "\n" << text << "\n"; }

    // `expected` beside success, for what is not well on this server on purpose.
    void run(const std::vector<std::string>& words, exit_code expected = all_well) {
        run_on(m_server, words, expected);
    }

    void run_on(const std::string& machine, const std::vector<std::string>& words,
                exit_code expected = all_well) {
        std::vector<std::string> command = {m_program, "--sandbox", machine};
        if (words[0] == "sandbox") {
            command.resize(1);
        }
        command.insert(command.end(), words.begin(), words.end());
        std::cout << "\n>";
        for (const std::string& word : command) {
            std::cout << " " << word;
        }
        std::cout << std::endl;
        const int code = run_child(command, std::chrono::minutes(1)).exit_code;
        if (code != all_well && code != expected) {
            throw std::runtime_error("this ended with " + std::to_string(code));
        }
    }

    const std::string& program() const { return m_program; }

  private:
    std::string m_program;
    std::string m_server;
};

fs::path make_folder() {
    const std::string stem = "oralib-demo-" + std::to_string(sandbox::process_id());
    fs::path folder = fs::temp_directory_path() / stem;
    for (int number = 1; !fs::create_directory(folder); ++number) {
        folder = fs::temp_directory_path() / (stem + "-" + std::to_string(number));
    }
    return folder;
}

exit_code demo(const arguments_t& arguments) {
    const auto begin = std::chrono::steady_clock::now();
    const fs::path folder = arguments.operands.empty()
                                ? make_folder()
                                : fs::absolute(fs::u8path(arguments.operands[0]));
    const std::string server = (folder / "server").u8string();
    const std::string image = (folder / "image").u8string();
    const std::string list = (folder / "logs.xml").u8string();
    road_t road(arguments.program, server);

    road.say("A SERVER: four Oracle homes, seven databases, an ASM instance.");
    road.run({"sandbox", "create", server});
    road.say("What a backup agent sees of it. TEST is down, STBY is only mounted.");
    road.run({"explore"}, some_left_out);

    road.say(
        "A BACKUP: prepare, the snapshot (here a copy of the server), finish. DEV has no\n"
        "archive log mode and is shut down meanwhile; REPORT is open read-only.");
    road.run({"job", "--", road.program(), "sandbox", "snapshot", server, image}, some_left_out);
    road.say("Every database is back where it was.");
    road.run({"sandbox", "show", server});

    road.say("ITS LOGS: those of FIN lie in ASM and are copied to the staging folder.");
    road.run({"logs", "backup", "FIN"});
    road.run({"logs", "verify"});
    road.run({"logs", "save", list});
    road.run({"logs", "remove", list});
    road.run({"retention", "ORCL", "--keep", "128KiB"});
    road.run({"retention", "ORCL", "--keep", "128KiB", "--confirm"});

    road.say(
        "ANOTHER MACHINE, started from the image: FIN and ORCL come up mounted, for files in\n"
        "backup mode cannot be opened, and DEV is down.");
    road.run({"sandbox", "boot", image});
    road.run_on(image, {"restore", "check"});
    road.say("Instances get 45 seconds to come up by themselves; here one is enough.");
    road.run({"sandbox", "set", image, "OracleRestoreWaitInSec", "1"});
    road.run_on(image, {"restore", "run"});
    road.run({"sandbox", "show", image});

    const auto passed = std::chrono::steady_clock::now() - begin;
    std::cout << "\nThe whole road took "
              << std::chrono::duration_cast<std::chrono::milliseconds>(passed).count()
              << " ms. Server and image are in " << folder.u8string() << ".\n";
    return all_well;
}

}  // namespace

std::vector<command_t> demo_commands() {
    return {{"demo",
             {"[DIR]"},
             "Show the whole road of a backup on a server made for it",
             "Explore, prepare, snapshot, finish, archived logs, retention; then the image as\n"
             "another machine, and its databases brought up. Nothing but sandboxes is touched.\n",
             {},
             demo}};
}

}  // namespace host
