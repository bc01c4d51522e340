// sandbox ...: makes, shows and upsets a sandbox. The one part of the host that does not go through
// the module.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "host/commands.h"
#include "host/table.h"
#include "sandbox/builder.h"

namespace host {

namespace {

namespace fs = std::filesystem;

struct target_t {
    fs::path directory;
    std::string sid;
};

// The operands DIR SID, as an instance that exists.
target_t get_target(const arguments_t& arguments) {
    target_t target{existing_sandbox(arguments.operands[0]), arguments.operands[1]};
    std::string known;
    for (const std::string& sid : sandbox::list_sids(target.directory)) {
        if (sandbox::equal_ignoring_case(sid, target.sid)) {
            return target;
        }
        known += (known.empty() ? "" : ", ") + sid;
    }
    throw std::runtime_error("no instance " + target.sid + " in the sandbox; there are " + known);
}

void print_instances(const fs::path& directory) {
    table_t table({{"SID"}, {"KIND"}, {"VERSION"}, {"STATE"}, {"HOME"}, {"DETAILS"}});
    for (const sandbox::instance_summary_t& instance : sandbox::describe(directory)) {
        table.add({instance.sid, instance.kind, instance.version, instance.state,
                   sandbox::query_sql(directory, instance.sid, "SELECT home FROM sandbox_instance"),
                   instance.detail});
    }
    table.print(std::cout, "Instances");
}

exit_code create(const arguments_t& arguments) {
    const std::string& name = arguments.operands[0];
    const fs::path directory = fs::u8path(name);
    if (fs::exists(directory) && !fs::is_empty(directory)) {
        throw std::runtime_error(name + " exists and is not empty");
    }
    sandbox::make_demo_server(directory);
    std::cout << "Made a server in " << name << ".\n";
    print_instances(directory);
    std::cout << "\nNext: " << arguments.program << " --sandbox " << name << " explore\n";
    return all_well;
}

exit_code show(const arguments_t& arguments) {
    const std::string name =
        arguments.operands.empty() ? chosen_sandbox(arguments) : arguments.operands[0];
    if (name.empty()) {
        throw usage_error_t("'sandbox show' needs DIR, --sandbox or ORALIB_SANDBOX");
    }
    std::cout << "The server in " << name << ".\n";
    print_instances(existing_sandbox(name));
    return all_well;
}

exit_code start(const arguments_t& arguments) {
    const target_t target = get_target(arguments);
    const bool is_asm = sandbox::query_sql(target.directory, target.sid,
                                           "SELECT kind FROM sandbox_instance") == "ASM";
    sandbox::set_state(target.directory, target.sid,
                       is_asm ? sandbox::state_t::started : sandbox::state_t::open);
    std::cout << target.sid << " is " << (is_asm ? "started.\n" : "open.\n");
    return all_well;
}

exit_code stop(const arguments_t& arguments) {
    const target_t target = get_target(arguments);
    sandbox::set_state(target.directory, target.sid, sandbox::state_t::down);
    std::cout << target.sid << " is down.\n";
    return all_well;
}

exit_code hang(const arguments_t& arguments) {
    const target_t target = get_target(arguments);
    sandbox::set_fault(target.directory, target.sid, sandbox::hang("OCISessionBegin", 0));
    std::cout << target.sid << " hangs at each logon from now on. The module gives up on it after\n"
              << "OracleConnectionTimeout seconds, 300 unless set:\n  " << arguments.program
              << " sandbox set " << arguments.operands[0] << " OracleConnectionTimeout 5\n";
    return all_well;
}

exit_code unhang(const arguments_t& arguments) {
    const target_t target = get_target(arguments);
    sandbox::clear_faults(target.directory, target.sid);
    std::cout << target.sid << " answers again.\n";
    return all_well;
}

exit_code set(const arguments_t& arguments) {
    const fs::path file = existing_sandbox(arguments.operands[0]) / "registry.reg";
    const std::string& name = arguments.operands[1];
    const std::string& text = arguments.operands[2];
    const bool is_number = text.size() < 10 && std::all_of(text.begin(), text.end(), [](char c) {
                               return c >= '0' && c <= '9';
                           });
    sandbox::registry_value_t value{sandbox::value_kind::text, text, 0};
    if (is_number) {
        value = {sandbox::value_kind::number, "", static_cast<std::uint32_t>(std::stoul(text))};
    }
    std::ofstream stream(file, std::ios::binary | std::ios::app);
    stream << sandbox::to_reg_sections({{"SOFTWARE\\Tarny\\Tarny Client Vault", {{name, value}}}});
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file.u8string());
    }
    std::cout << name << " is " << text << " from the module's next start on.\n";
    return all_well;
}

exit_code snapshot(const arguments_t& arguments) {
    const fs::path server = existing_sandbox(arguments.operands[0]);
    const std::string& image = arguments.operands[1];
    sandbox::take_snapshot(server, fs::u8path(image));
    std::cout << "The image is in " << image << ".\n";
    return all_well;
}

exit_code boot(const arguments_t& arguments) {
    const fs::path image = existing_sandbox(arguments.operands[0]);
    sandbox::boot(image);
    std::cout << "Another machine, from the image in " << arguments.operands[0] << ".\n";
    print_instances(image);
    return all_well;
}

}  // namespace

std::vector<command_t> sandbox_commands() {
    const std::vector<std::string> instance = {"DIR", "SID"};
    return {
        {"sandbox create", {"DIR"}, "Make a demonstration server", "", {}, create},
        {"sandbox show", {"[DIR]"}, "Show its instances and their states", "", {}, show},
        {"sandbox stop", instance, "Take an instance down", "", {}, stop},
        {"sandbox start", instance, "Bring an instance up", "", {}, start},
        {"sandbox hang", instance, "Let an instance hang at each logon", "", {}, hang},
        {"sandbox unhang", instance, "Let it answer again", "Clears all its faults.\n", {}, unhang},
        {"sandbox snapshot",
         {"DIR", "IMAGE"},
         "Take a snapshot of the server's disks",
         "IMAGE is a folder, which must not exist.\n",
         {},
         snapshot},
        {"sandbox boot",
         {"IMAGE"},
         "Start another machine from a snapshot",
         "Its instances were lost where they stood; their services bring them up.\n",
         {},
         boot},
        {"sandbox set",
         {"DIR", "NAME", "VALUE"},
         "Set one of the module's settings",
         "docs/operating.md lists them. Digits make a number, anything else a text.\n",
         {},
         set},
    };
}

}  // namespace host
