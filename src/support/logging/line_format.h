// The form of a log line.
#pragma once

#include <cstdint>
#include <string>

namespace logging {

enum severity_t : unsigned { severity_scope = 1, severity_info, severity_warning, severity_error };

namespace format {

/// Builds lines. Called under the log's lock: it keeps the time stamp of the running second, since
/// the date work costs more than the rest of a line.
class line_format_t {
  public:
    /// Appends `text` to `out`, cut at its line feeds, each piece a line with its own prefix.
    void append(std::string& out, bool use_long_format, severity_t severity,
                const std::string& category, std::uint32_t depth, const std::string& text);

  private:
    const std::string& time_stamp();
    const std::string& thread_text(bool use_long_format);

    std::uint64_t stamped_second = 0;
    std::string stamp;
    std::uint32_t texted_thread = 0;
    bool texted_long = false;
    std::string thread;
};

}  // namespace format
}  // namespace logging
