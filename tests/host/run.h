// Runs a command of the shell and keeps what it says.
#pragma once

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "machine.h"

/// A folder of the test's own, removed with it.
class folder_t {
  public:
    folder_t() : m_folder(make_temporary_folder()) {}
    ~folder_t() { EXPECT_NO_THROW(remove_folder(m_folder)); }

    std::string operator/(const std::string& file) const { return (m_folder / file).string(); }
    std::string write(const std::string& file, const std::string& content) const {
        write_file(m_folder / file, content);
        return *this / file;
    }
    std::string read(const std::string& file) const { return read_file(m_folder / file); }

  private:
    std::filesystem::path m_folder;
};

struct outcome_t {
    int code;
    std::string out;
    std::string err;
};

/// Standard input is empty. Line ends are given as \n.
inline outcome_t run(const folder_t& folder, const std::string& command) {
    // New files each time: Wine may still hold those of a process that has just ended.
    static int count = 0;
    const std::string out = "out" + std::to_string(++count);
    const std::string err = "err" + std::to_string(count);
    const int code =
        run_command(command + " < " NULL_DEVICE " > " + (folder / out) + " 2> " + (folder / err));
    const auto read = [&](const std::string& name) {
        std::string text = folder.read(name);
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        return text;
    };
    return {code, read(out), read(err)};
}

/// One word for the shell. It may end in a backslash.
inline std::string quoted(const std::string& word) {
#ifdef _WIN32
    return "\"" + word + (word.back() == '\\' ? "\\\"" : "\"");
#else
    return "'" + word + "'";
#endif
}
