#include "support/logging/logger.h"

#include <boost/make_shared.hpp>
#include <boost/thread/tss.hpp>

#include "platform/system.h"
#include "support/exc/exc.h"
#include "support/logging/aging.h"
#include "support/synch/thread_gate.h"
#include "support/text/format.h"

namespace logging {

using synch::thread_gate_t;
using util::format_message;

namespace {

constexpr std::uint32_t lines_between_size_checks = 1000;

boost::shared_ptr<log_t> shared_log() {
    static const boost::shared_ptr<log_t> log = boost::make_shared<log_t>();
    return log;
}

// The pointer's value is the depth itself and nothing is cleaned up at a thread's end: the module
// may be gone by then.
boost::thread_specific_ptr<char>& depth_slot() {
    static boost::thread_specific_ptr<char> slot(nullptr);
    return slot;
}

std::string with_what(const std::string& text, const std::exception& e) {
    return e.what() ? text + "\n" + e.what() : text;
}

std::string thread_line(const std::exception& e) {
    const auto* own = dynamic_cast<const exc::exc_base_t*>(&e);
    const std::uint32_t id = own ? own->thread_id() : 0;
    return format_message("\nAn exception was thrown from thread [%1].",
                          id ? util::to_string(id) : "n/a");
}

constexpr const char* no_message = "Exception message is not available.";

}  // namespace

logger_t g_oralib_log("oralib");
logger_t g_unnamed_log("");

log_t::log_t() : format(boost::make_shared<format::line_format_t>()) {}

void log_t::set_name(const std::wstring& log_name) {
    const auto held = hold();
    if (!named) {
        name = log_name;
        named = true;
    }
}

void log_t::install(const boost::shared_ptr<receiver::log_file_t>& sink) {
    const auto held = hold();
    receiver = sink;
    enabled = true;
    age_on_write = true;
}

bool log_t::is_installed() {
    const auto held = hold();
    return enabled;
}

void log_t::write(severity_t severity, const std::string& category, const std::string& text) {
    const auto held = hold();
    // What the sink logs of its own trouble would meet the same trouble; and a thread may have been
    // given up on while it waited.
    if (!held.owns_lock() || !enabled || writing || thread_gate_t::is_current_gone()) {
        return;
    }
    struct writing_t {
        explicit writing_t(bool& set) : flag(set) { flag = true; }
        ~writing_t() { flag = false; }
        bool& flag;
    } const is_writing(writing);
    buffer.clear();
    format->append(buffer, use_long_format, severity, category, get_depth(), text);
    receiver->write(buffer);
    if (age_on_write && ++line_count == lines_between_size_checks) {
        line_count = 0;
        check_size(*receiver);
    }
}

log_t::held_t log_t::hold() {
    return platform::is_process_ending() ? held_t(lock, boost::try_to_lock) : held_t(lock);
}

std::uint32_t get_depth() {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(depth_slot().get()));
}

void set_depth(std::uint32_t depth) {
    depth_slot().reset(reinterpret_cast<char*>(std::uintptr_t{depth}));
}

logger_t::logger_t(std::string category_name)
    : m_log(shared_log()), category(std::move(category_name)) {}

void logger_t::write(severity_t severity, const std::string& text) const {
    if (thread_gate_t::is_current_gone()) {
        return;
    }
    try {
        m_log->write(severity, category, text);
    } catch (const std::exception&) {
        // The line is lost; what it told of goes on.
    }
}

void logger_t::line(const std::string& text) const {
    write(severity_info, text);
}

void logger_t::line(const std::string& format, const std::string& a) const {
    line(format_message(format, a));
}

void logger_t::line(const std::string& format, const std::string& a, const std::string& b) const {
    line(format_message(format, a, b));
}

void logger_t::line(const std::string& format, const std::string& a, const std::string& b,
                    const std::string& c) const {
    line(format_message(format, a, b, c));
}

void logger_t::line(const std::string& format, const std::string& a, const std::string& b,
                    const std::string& c, const std::string& d) const {
    line(format_message(format, a, b, c, d));
}

void logger_t::warning(const std::string& text) const {
    write(severity_warning, text);
}

void logger_t::warning(const std::string& format, const std::string& a) const {
    warning(format_message(format, a));
}

void logger_t::warning(const std::string& format, const std::string& a,
                       const std::string& b) const {
    warning(format_message(format, a, b));
}

void logger_t::error(const std::string& text) const {
    write(severity_error, text);
}

void logger_t::error(const std::string& format, const std::string& a) const {
    error(format_message(format, a));
}

void logger_t::error(const std::string& format, const std::string& a, const std::string& b) const {
    error(format_message(format, a, b));
}

void logger_t::error(const std::string& format, const std::string& a, const std::string& b,
                     const std::string& c, const std::string& d) const {
    error(format_message(format, a, b, c, d));
}

void logger_t::log_exception(const std::string& text, const std::exception& e) const {
    warning(with_what(text, e));
}

void logger_t::log_exception(const std::string& format, const std::string& a,
                             const std::exception& e) const {
    log_exception(format_message(format, a), e);
}

void logger_t::log_exception_thread(const std::string& text, const std::exception& e) const {
    error(with_what(text, e) + thread_line(e));
}

void logger_t::log_exception_thread(const std::string& format, const std::string& a,
                                    const std::exception& e) const {
    log_exception_thread(format_message(format, a), e);
}

void logger_t::log_what(const std::exception& e) const {
    if (e.what()) {
        warning(std::string(e.what()));
    } else {
        error(std::string(no_message));
    }
}

void logger_t::log_what_thread(const std::exception& e) const {
    error((e.what() ? e.what() : no_message) + thread_line(e));
}

}  // namespace logging
