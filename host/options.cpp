#include "host/options.h"

#include <algorithm>

namespace host {

namespace {

const option_t* find(const std::vector<option_t>& options, const std::string& name) {
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&](const option_t& option) { return option.name == name; });
    return found == options.end() ? nullptr : &*found;
}

const option_t* find_anywhere(const std::vector<command_t>& commands, const std::string& name) {
    const option_t* option = find(common_options, name);
    for (auto command = commands.begin(); !option && command != commands.end(); ++command) {
        option = find(command->options, name);
    }
    return option;
}

[[noreturn]] void throw_unknown_option(const std::string& name) {
    if (name == "--password") {
        throw usage_error_t(
            "passwords are not taken from the command line; use the prompt, --password-file or "
            "ORALIB_PASSWORD");
    }
    throw usage_error_t("unknown option " + name);
}

// Options into the arguments, all else into the operands.
void sort_words(const std::vector<command_t>& commands, const std::vector<std::string>& words,
                arguments_t& arguments) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--") {
            arguments.operands.insert(arguments.operands.end(),
                                      words.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                                      words.end());
            return;
        }
        if (words[i].size() < 2 || words[i][0] != '-') {
            arguments.operands.push_back(words[i]);
            continue;
        }
        const std::size_t equals = words[i].find('=');
        const std::string name = words[i] == "-h" ? "--help" : words[i].substr(0, equals);
        const option_t* const option = find_anywhere(commands, name);
        if (!option) {
            throw_unknown_option(name);
        }
        std::string value;
        if (option->value.empty()) {
            if (equals != std::string::npos) {
                throw usage_error_t(name + " takes no value");
            }
        } else if (equals != std::string::npos) {
            value = words[i].substr(equals + 1);
        } else if (i + 1 < words.size()) {
            value = words[++i];
        }
        if (!option->value.empty() && value.empty()) {
            throw usage_error_t(name + " needs a value: " + option->value);
        }
        arguments.options[name] = value;
    }
}

// The command that the operands begin with; its words are taken off them.
const command_t* take_command(const std::vector<command_t>& commands,
                              std::vector<std::string>& operands) {
    for (const std::size_t count : {2, 1}) {
        if (operands.size() < count) {
            continue;
        }
        const std::string name = operands[0] + (count == 2 ? " " + operands[1] : "");
        for (const command_t& command : commands) {
            if (command.name == name) {
                operands.erase(operands.begin(),
                               operands.begin() + static_cast<std::ptrdiff_t>(count));
                return &command;
            }
        }
    }
    return nullptr;
}

void check(const command_t& command, const arguments_t& arguments) {
    for (const auto& [name, value] : arguments.options) {
        if (!find(common_options, name) && !find(command.options, name)) {
            throw usage_error_t(name + " does not go with '" + command.name + "'");
        }
    }
    const auto needed = static_cast<std::size_t>(
        std::count_if(command.operands.begin(), command.operands.end(),
                      [](const std::string& operand) { return operand[0] != '['; }));
    if (arguments.operands.size() < needed) {
        throw usage_error_t("'" + command.name + "' needs " +
                            command.operands[arguments.operands.size()]);
    }
    const bool takes_more =
        !command.operands.empty() && command.operands.back().size() > 3 &&
        command.operands.back().compare(command.operands.back().size() - 3, 3, "...") == 0;
    if (!takes_more && arguments.operands.size() > command.operands.size()) {
        throw usage_error_t("'" + command.name + "' does not know what to do with '" +
                            arguments.operands[command.operands.size()] + "'");
    }
}

void append_list(std::string& text, const std::string& title,
                 const std::vector<std::pair<std::string, std::string>>& lines) {
    std::size_t width = 0;
    for (const auto& [name, help] : lines) {
        width = std::max(width, name.size());
    }
    text += "\n" + title + "\n";
    for (const auto& [name, help] : lines) {
        text += "  " + name + std::string(width - name.size() + 2, ' ') + help + "\n";
    }
}

void append_options(std::string& text, const std::string& title,
                    const std::vector<option_t>& options) {
    std::vector<std::pair<std::string, std::string>> lines;
    for (const option_t& option : options) {
        lines.emplace_back(option.name + (option.value.empty() ? "" : " " + option.value),
                           option.help);
    }
    append_list(text, title, lines);
}

std::string synopsis(const command_t& command) {
    std::string text = command.name;
    for (const std::string& operand : command.operands) {
        text += " " + operand;
    }
    return text;
}

}  // namespace

const std::vector<option_t> common_options = {
    {"--sandbox", "DIR", "run on this sandbox (default: ORALIB_SANDBOX)"},
    {"--library", "FILE", "the module (default: ORALIB_LIBRARY, or the one beside oralib-host)"},
    {"--log", "NAME", "name or path of the module's log file (default: oralib-host.log)"},
    {"--trace", "", "show with a failure its way through the module"},
    {"--help", "", "show help, on a command where one is named"},
    {"--version", "", "show the version"},
};

std::string arguments_t::get(const std::string& option) const {
    const auto found = options.find(option);
    return found == options.end() ? "" : found->second;
}

command_line_t parse(const std::vector<command_t>& commands, const std::string& program,
                     const std::vector<std::string>& words) {
    command_line_t line;
    line.arguments.program = program;
    sort_words(commands, words, line.arguments);
    line.command = take_command(commands, line.arguments.operands);
    if (line.arguments.has("--help") || line.arguments.has("--version")) {
        line.topic = line.arguments.operands.empty() ? "" : line.arguments.operands[0];
        return line;
    }
    if (!line.command) {
        throw usage_error_t(line.arguments.operands.empty()
                                ? "no command"
                                : "unknown command '" + line.arguments.operands[0] + "'");
    }
    check(*line.command, line.arguments);
    return line;
}

std::string help_on(const command_t& command) {
    std::string text = "usage: oralib-host " + synopsis(command) + " [OPTIONS]\n\n" +
                       command.summary + ".\n" + command.help;
    if (!command.options.empty()) {
        append_options(text, "Options:", command.options);
    }
    append_options(text, "Common options:", common_options);
    return text;
}

std::string help_on(const std::vector<command_t>& commands, const std::string& topic) {
    std::vector<std::pair<std::string, std::string>> lines;
    for (const command_t& command : commands) {
        if (command.name.rfind(topic, 0) == 0) {
            lines.emplace_back(synopsis(command), command.summary);
        }
    }
    std::string text =
        "usage: oralib-host COMMAND [OPTIONS]\n\n"
        "Drives the oralib module: shows what a backup agent sees of the Oracle\n"
        "databases of this machine.\n";
    append_list(text, "Commands (--help on each tells more):", lines);
    append_options(text, "Common options:", common_options);
    append_list(text, "Exit codes:",
                {{"0", "all well"},
                 {"1", "failed"},
                 {"2", "wrong usage"},
                 {"3", "explore: some databases could not be read; prepare: are not protected"},
                 {"4", "asm: there is no ASM instance"},
                 {"5", "finish, job, recover: a database may still be in backup mode, or down"},
                 {"6", "job: the command took too long"}});
    return text;
}

}  // namespace host
