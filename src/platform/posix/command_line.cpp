#include "platform/posix/command_line.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "platform/paths.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

struct word {
    std::wstring text;
    bool is_operator = false;  // of redirection, and not quoted
};

std::vector<word> split(const std::wstring& line, const std::wstring& operators) {
    std::vector<word> words;
    bool quoted = false;
    bool open = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const wchar_t unit = line[i];
        const bool blank = unit == L' ' || unit == L'\t';
        if (!quoted && operators.find(unit) != std::wstring::npos) {
            const bool repeated = i + 1 < line.size() && line[i + 1] == unit;
            words.push_back({std::wstring(repeated ? 2 : 1, unit), true});
            i += repeated;
            open = false;
        } else if (!quoted && blank) {
            open = false;
        } else {
            if (!open) words.emplace_back();
            open = true;
            std::wstring& text = words.back().text;
            // Backslashes are special before a quote only, and not in the program's name.
            const std::size_t end = std::min(line.find_first_not_of(L'\\', i), line.size());
            const std::size_t count = end - i;
            if (unit == L'"') {
                quoted = !quoted;
            } else if (count == 0) {
                text += unit;
            } else if (words.size() > 1 && end < line.size() && line[end] == L'"') {
                text.append(count / 2, L'\\');
                if (count % 2) text += L'"';
                i = count % 2 ? end : end - 1;
            } else {
                text.append(count, L'\\');
                i = end - 1;
            }
        }
    }
    return words;
}

// The interpreter itself starts always; what it cannot do it says on the error output.
void make_complaint(const std::string& text, spawn_request& request) {
    request.program = "/bin/sh";
    request.arguments = {"cmd.exe", "-c", "printf '%s\\r\\n' \"$1\" >&2; exit 1", "cmd.exe", text};
}

}  // namespace

std::vector<std::wstring> split_words(const std::wstring& line) {
    std::vector<std::wstring> result;
    for (const word& each : split(line, L"")) {
        result.push_back(each.text);
    }
    return result;
}

void interpret_command(const std::wstring& command, spawn_request& request,
                       descriptor_owner& output) {
    const std::vector<word> words = split(command, L">");
    request.arguments.clear();
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!words[i].is_operator) {
            request.arguments.push_back(narrow_ansi(words[i].text));
            continue;
        }
        const bool appends = words[i].text.size() > 1;
        if (++i == words.size()) {
            make_complaint("The syntax of the command is incorrect.", request);
            return;
        }
        const std::string target = native_path(words[i].text).string();
        output.reset(open(target.c_str(),
                          O_WRONLY | O_CREAT | O_CLOEXEC | (appends ? O_APPEND : O_TRUNC), 0666));
        if (output.get() < 0) {
            make_complaint("The system cannot find the path specified.", request);
            return;
        }
    }
    if (request.arguments.empty()) request.arguments.emplace_back();
    request.program = words.empty() ? "" : native_path(words[0].text).string();
    if (access(request.program.c_str(), X_OK) != 0) {
        make_complaint("'" + request.arguments[0] +
                           "' is not recognized as an internal or external command,\r\n"
                           "operable program or batch file.",
                       request);
    }
}

}  // namespace platform
