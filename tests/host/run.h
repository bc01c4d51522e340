// Runs a command of the shell and keeps what it says.
#pragma once

#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

/// A folder of the test's own, removed with it.
class folder_t {
  public:
    folder_t() : m_name(testing::TempDir() + "host-XXXXXX") { mkdtemp(&m_name[0]); }
    ~folder_t() { std::filesystem::remove_all(m_name); }

    std::string operator/(const std::string& file) const { return m_name + "/" + file; }
    std::string write(const std::string& file, const std::string& content) const {
        std::ofstream(*this / file) << content;
        return *this / file;
    }
    std::string read(const std::string& file) const {
        std::ifstream stream(*this / file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

  private:
    std::string m_name;
};

struct outcome_t {
    int code;
    std::string out;
    std::string err;
};

/// Standard input is empty.
inline outcome_t run(const folder_t& folder, const std::string& command) {
    const int status = std::system(
        ("( " + command + " ) < /dev/null > " + (folder / "out") + " 2> " + (folder / "err"))
            .c_str());
    return {WEXITSTATUS(status), folder.read("out"), folder.read("err")};
}
