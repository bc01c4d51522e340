// The commands, and what they have in common.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "host/module.h"
#include "host/options.h"

namespace host {

std::vector<command_t> explore_commands();
std::vector<command_t> simple_commands();
std::vector<command_t> backup_commands();
std::vector<command_t> job_commands();
std::vector<command_t> logs_commands();
std::vector<command_t> demo_commands();
std::vector<command_t> sandbox_commands();

/// The directory of --sandbox, else of ORALIB_SANDBOX; empty where there is none.
std::string chosen_sandbox(const arguments_t& arguments);

/// Throws std::runtime_error where the directory is no sandbox.
std::filesystem::path existing_sandbox(const std::string& directory);

/// Loads and starts the module that the options name, on the sandbox that they name.
std::unique_ptr<module_t> open_module(const arguments_t& arguments);

/// Each line behind the program's name; text.h tells which.
void print_failure(std::ostream& stream, const std::string& text, bool trace);

}  // namespace host
