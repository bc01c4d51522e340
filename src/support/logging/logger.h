// The log: one core for each load of the module, and the small loggers that write through it.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include "support/logging/line_format.h"
#include "support/logging/log_file.h"

namespace logging {

/// The shared core. Any thread may use it; one recursive lock keeps messages whole.
class log_t {
  public:
    log_t();

    /// The name given by the first call is kept.
    void set_name(const std::wstring& log_name);
    const std::wstring& get_name() const { return name; }

    /// From now on lines are written, to this sink; before, they are dropped.
    void install(const boost::shared_ptr<receiver::log_file_t>& sink);
    bool is_installed();
    void set_long_format(bool use) { use_long_format = use; }

    /// Throws what the sink throws.
    void write(severity_t severity, const std::string& category, const std::string& text);

    using held_t = boost::unique_lock<boost::recursive_mutex>;
    /// Keeps every other thread out of the log. Comes back without the lock only where the process
    /// is ending and a thread that is gone has it.
    held_t hold();

  private:
    boost::recursive_mutex lock;
    boost::shared_ptr<receiver::log_file_t> receiver;
    boost::shared_ptr<format::line_format_t> format;
    std::wstring name;
    bool named = false;
    std::string buffer;
    bool enabled = false;
    bool use_long_format = false;
    bool age_on_write = false;
    std::uint32_t line_count = 0;
    bool writing = false;
};

/// Writes with one category. No operation throws: logging never ends what it tells of. Numbers and
/// booleans are turned into text by the caller, and a password is never passed. A thread that was
/// given up on (synch::thread_gate_t) writes nothing, and touches nothing here.
class logger_t {
  public:
    explicit logger_t(std::string category_name);

    void line(const std::string& text) const;
    void line(const std::string& format, const std::string& a) const;
    void line(const std::string& format, const std::string& a, const std::string& b) const;
    void line(const std::string& format, const std::string& a, const std::string& b,
              const std::string& c) const;
    void line(const std::string& format, const std::string& a, const std::string& b,
              const std::string& c, const std::string& d) const;
    void warning(const std::string& text) const;
    void warning(const std::string& format, const std::string& a) const;
    void warning(const std::string& format, const std::string& a, const std::string& b) const;
    void error(const std::string& text) const;
    void error(const std::string& format, const std::string& a) const;
    void error(const std::string& format, const std::string& a, const std::string& b) const;
    void error(const std::string& format, const std::string& a, const std::string& b,
               const std::string& c, const std::string& d) const;

    /// A failure that was got over: a warning with the text and all lines of `e`.
    void log_exception(const std::string& text, const std::exception& e) const;
    void log_exception(const std::string& format, const std::string& a,
                       const std::exception& e) const;
    /// A failure that ended something: an error, with the thread on which it arose.
    void log_exception_thread(const std::string& text, const std::exception& e) const;
    void log_exception_thread(const std::string& format, const std::string& a,
                              const std::exception& e) const;
    void log_what(const std::exception& e) const;
    void log_what_thread(const std::exception& e) const;

    void write(severity_t severity, const std::string& text) const;

    const boost::shared_ptr<log_t>& log() const { return m_log; }

  private:
    boost::shared_ptr<log_t> m_log;
    std::string category;
};

/// The depth of the log scopes that the calling thread is in.
std::uint32_t get_depth();
void set_depth(std::uint32_t depth);

extern logger_t g_oralib_log;   ///< of the Oracle logic
extern logger_t g_unnamed_log;  ///< of support code

}  // namespace logging
