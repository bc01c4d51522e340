// What the sandbox needs of the system beneath it, beyond the standard library.
#pragma once

#include <filesystem>
#include <string>

namespace sandbox {

/// A variable of the process; empty where it is not set.
std::string environment(const char* name);
long process_id();
long thread_id();
void sleep_microseconds(long microseconds);
/// Blocks in a call of the system, for ever, holding nothing.
[[noreturn]] void sleep_forever();
/// A text file that several processes append to; each write arrives whole.
class appender_t {
  public:
    appender_t() = default;
    ~appender_t();
    appender_t(const appender_t&) = delete;
    appender_t& operator=(const appender_t&) = delete;

    /// Stays closed where the file cannot be opened.
    void open(const std::filesystem::path& file);
    bool is_open() const { return m_file != closed; }
    void write(const std::string& text) const;

  private:
    static constexpr int closed = -1;
    int m_file = closed;
};

}  // namespace sandbox
