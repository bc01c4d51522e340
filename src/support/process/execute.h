// Running a program to its end and taking its output.
#pragma once

#include <string>
#include <vector>

#include "support/process/environment_variable.h"

namespace process_subsystem {

struct SCommand {
    std::string command;
    std::vector<util::CEnvironmentVariable> environment;  ///< empty: the caller's own
    std::string arguments;
};

/// A .bat file is given to the command interpreter. The environment gets SystemRoot.
SCommand make_command(const std::string& path);

/// `output` is what the program wrote to its standard output and standard error, mixed. For short
/// outputs: it is read only after the program's end, and a program that outlasts 60 seconds is
/// ended. Throws on that, on an exit code other than 0 and when it cannot be started.
void execute(const SCommand& command, std::string& output);

}  // namespace process_subsystem
