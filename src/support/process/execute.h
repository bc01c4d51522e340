// Running a program to its end and taking its output.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/process/environment_variable.h"
#include "support/process/process.h"

namespace process_subsystem {

struct SCommand {
    std::string command;
    std::vector<util::CEnvironmentVariable> environment;  ///< empty: the caller's own
    std::string arguments;
};

/// A .bat file is given to the command interpreter. The environment gets SystemRoot.
SCommand make_command(const std::string& path);

/// `output` is what the program wrote to its standard output and standard error, mixed. For short
/// outputs: it is read only after the program's end, and a program that outlasts the limit is
/// ended. Reading takes what is left of it, a second at least: a helper of the program may live on
/// and keep the output open, and then what it has by then is the output. Throws on a program that
/// was ended, on an exit code other than 0 and when it cannot be started.
void execute(const SCommand& command, std::string& output,
             std::uint32_t limit_seconds = process::CWinProcess::default_wait_seconds);

}  // namespace process_subsystem
