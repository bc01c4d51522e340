// Command lines as programs and the command interpreter read them.
#pragma once

#include <string>
#include <vector>

#include "platform/posix/descriptor.h"
#include "platform/posix/spawn.h"

namespace platform {

/// The words of a command line; quotes keep blanks together and go.
std::vector<std::wstring> split_words(const std::wstring& line);

/// Makes of what stands behind "cmd.exe /C" a request: program and arguments, and in `output` the
/// file that the command's output is redirected to. A command that the interpreter cannot run
/// becomes a program that says so and exits with 1.
void interpret_command(const std::wstring& command, spawn_request& request,
                       descriptor_owner& output);

}  // namespace platform
