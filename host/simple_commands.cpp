// asm, logs folder, test: one call of the module each.
#include <iostream>

#include "host/commands.h"

namespace host {

namespace {

exit_code asm_exists(const arguments_t& arguments) {
    const bool exists = open_module(arguments)->asm_exists();
    std::cout << (exists ? "This machine has an ASM instance.\n"
                         : "This machine has no ASM instance.\n");
    return exists ? all_well : no_asm;
}

exit_code logs_folder(const arguments_t& arguments) {
    std::cout << open_module(arguments)->logs_folder() << "\n";
    return all_well;
}

exit_code test(const arguments_t& arguments) {
    open_module(arguments)->test();
    return all_well;
}

}  // namespace

std::vector<command_t> simple_commands() {
    return {{"asm",
             {},
             "Tell whether this machine has an ASM instance",
             "By the registry alone. The exit code is 0 where it has one, 4 where it has none.\n",
             {},
             asm_exists},
            {"logs folder", {}, "Show the staging folder for archived logs", "", {}, logs_folder},
            {"test",
             {},
             "Connect to each instance, print what the module finds, and wait for a key",
             "The output is the module's own. Instances that do not answer are passed over.\n",
             {},
             test}};
}

}  // namespace host
