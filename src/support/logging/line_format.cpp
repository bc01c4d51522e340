#include "support/logging/line_format.h"

#include <cstdio>

#include "platform/platform.h"

namespace logging::format {

namespace {

constexpr std::uint64_t ticks_per_second = 10000000;

const char* tag(severity_t severity, bool first_line) {
    if (severity < severity_warning) {
        return "";
    }
    if (!first_line) {
        return ">>  |";
    }
    return severity == severity_warning ? "WARN|" : "ERR |";
}

const char* long_name(severity_t severity) {
    switch (severity) {
        case severity_warning:
            return "Warning  ";
        case severity_error:
            return "Error    ";
        default:
            return "Info     ";
    }
}

}  // namespace

const std::string& line_format_t::time_stamp() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const std::uint64_t second =
        ((static_cast<std::uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime) /
        ticks_per_second;
    if (second != stamped_second || stamp.empty()) {
        SYSTEMTIME local;
        GetLocalTime(&local);
        char text[32];
        const int length =
            std::snprintf(text, sizeof text, "[%02u.%02u.%04u %02u:%02u:%02u] ", local.wDay,
                          local.wMonth, local.wYear, local.wHour, local.wMinute, local.wSecond);
        stamp = length > 0 ? text : "TIME ---";
        stamped_second = second;
    }
    return stamp;
}

const std::string& line_format_t::thread_text(bool use_long_format) {
    const std::uint32_t id = GetCurrentThreadId();
    if (id != texted_thread || use_long_format != texted_long || thread.empty()) {
        char text[16];
        if (use_long_format) {
            std::snprintf(text, sizeof text, "<%2u> ", static_cast<unsigned>(id % 100));
        } else {
            std::snprintf(text, sizeof text, "<%6u> ", static_cast<unsigned>(id));
        }
        thread = text;
        texted_thread = id;
        texted_long = use_long_format;
    }
    return thread;
}

void line_format_t::append(std::string& out, bool use_long_format, severity_t severity,
                           const std::string& category, std::uint32_t depth,
                           const std::string& text) {
    const std::string& time = time_stamp();
    const std::string& thread_number = thread_text(use_long_format);
    std::string::size_type begin = 0;
    for (bool first = true;; first = false) {
        const std::string::size_type end = text.find('\n', begin);
        out += time;
        out += thread_number;
        if (use_long_format) {
            out += long_name(severity);
        } else {
            out += category;
            out += tag(severity, first);
        }
        out.append(std::size_t{2} * depth, ' ');
        out.append(text, begin, end == std::string::npos ? end : end - begin);
        out += '\n';
        if (end == std::string::npos) {
            return;
        }
        begin = end + 1;
    }
}

}  // namespace logging::format
