// The log file.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "support/logging/log_file.h"
#include "support/win/file.h"

namespace win {

/// Appends to a file that other processes may read meanwhile but not write.
class win_log_file_t : public logging::receiver::log_file_t {
  public:
    /// Throws file_locked_exc_t where another process has the file open for writing.
    explicit win_log_file_t(const std::wstring& path);

    void write(const std::string& line) override;
    void flush() override;
    std::wstring get_path() const override;
    std::uint64_t get_size() override;
    void compress_to(util::zip_writer_t& writer) override;

  private:
    boost::shared_ptr<win_file_t> file;
};

/// Opens the log at `path`, its folder made, or at the first of `path` numbered 1 to 999 that no
/// other process holds; in the root of its drive where the folder cannot be made, and `why` then
/// says so. Throws.
boost::shared_ptr<logging::receiver::log_file_t> open_log_file(const std::wstring& path,
                                                               std::string* why = nullptr);

}  // namespace win
