// The sandbox that the tests of this program run on; made when the program starts.
#pragma once

#include <string>

/// Its directory.
std::string machine_directory();

/// Writes a file of the sandbox, folders and all; an executable one if it begins with "#!".
void write_machine_file(const std::string& name, const std::string& content);
std::string read_machine_file(const std::string& name);
