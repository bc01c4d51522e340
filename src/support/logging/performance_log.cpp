#include "support/logging/performance_log.h"

#include <exception>

#include <boost/thread/lock_guard.hpp>

#include "support/logging/logger.h"
#include "support/win/file.h"
#include "support/win/path.h"

namespace logging {

namespace {

using lock_t = boost::lock_guard<boost::mutex>;

}  // namespace

void performance_log_t::open(const std::wstring& path) {
    const lock_t held(lock);
    m_path = path;
}

void performance_log_t::add(const std::string& line) {
    const lock_t held(lock);
    if (!m_path.empty()) {
        buffer += line + "\r\n";
    }
}

void performance_log_t::flush() {
    const lock_t held(lock);
    if (buffer.empty()) {
        return;
    }
    try {
        win::create_directories(m_path);
    } catch (const std::exception& e) {
        g_unnamed_log.log_exception("Performance logger failed to create directory.", e);
    }
    try {
        const auto file = win::win_file_t::create_or_open(m_path);
        file->seek(0, FILE_END);
        file->write(buffer.data(), buffer.size());
    } catch (const std::exception& e) {
        g_unnamed_log.log_exception(
            "Unable to flush performance log data. Perflog buffer will be erased, data will be "
            "lost.",
            e);
    }
    buffer.clear();
}

}  // namespace logging
