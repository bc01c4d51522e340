// The command line: one command of one or two words, its operands, and options in any place.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

/// Documented in the help; operators and scripts go by them.
enum exit_code {
    all_well = 0,
    failed = 1,
    wrong_usage = 2,
    some_left_out = 3,  ///< databases that could not be read, or are not protected
    no_asm = 4,
    in_backup_mode = 5,  ///< a database may still be in backup mode, or down
    timed_out = 6        ///< the command of a job
};

class usage_error_t : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct option_t {
    std::string name;   ///< "--files"
    std::string value;  ///< what the help calls its value; empty: it has none
    std::string help;
};

struct arguments_t {
    std::string program;  ///< as it was typed
    std::vector<std::string> operands;
    std::map<std::string, std::string> options;

    bool has(const std::string& option) const { return options.count(option) != 0; }
    /// Empty where the option is not given.
    std::string get(const std::string& option) const;
};

struct command_t {
    std::string name;  ///< "logs folder"
    /// The names of all; those in brackets may be absent, and "NAME..." stands for one or more.
    std::vector<std::string> operands;
    std::string summary;
    std::string help;  ///< more of it, lines; may be empty
    std::vector<option_t> options;
    exit_code (*run)(const arguments_t& arguments);
};

/// Options that go with every command.
extern const std::vector<option_t> common_options;

struct command_line_t {
    const command_t* command = nullptr;  ///< null with --help and --version only
    std::string topic;                   ///< the first words, where they name no command
    arguments_t arguments;
};

/// Throws usage_error_t, except where --help or --version is given.
command_line_t parse(const std::vector<command_t>& commands, const std::string& program,
                     const std::vector<std::string>& words);

/// The help on one command, or on all that begin with `topic`.
std::string help_on(const command_t& command);
std::string help_on(const std::vector<command_t>& commands, const std::string& topic);

}  // namespace host
