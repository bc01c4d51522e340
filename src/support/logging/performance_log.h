// How long files take: an optional second log, off until it is opened.
#pragma once

#include <string>

#include <boost/thread/mutex.hpp>

namespace logging {

/// Any thread may use it. No operation but open throws: what cannot be written is dropped, with a
/// warning in the log.
class performance_log_t {
  public:
    /// From now on lines are kept, and appended to the file at `path` by flush.
    void open(const std::wstring& path);
    void add(const std::string& line);
    void flush();

  private:
    boost::mutex lock;
    std::wstring m_path;
    std::string buffer;
};

}  // namespace logging
