// The log on standard output.
#pragma once

#include "support/logging/log_file.h"

namespace logging::receiver {

/// Prints a line of "/" characters at its start and its end. Holds nothing that could be archived.
class stdout_log_file_t : public log_file_t {
  public:
    stdout_log_file_t();
    ~stdout_log_file_t() override;

    void write(const std::string& line) override;
    void flush() override;
    std::wstring get_path() const override { return std::wstring(); }
    std::uint64_t get_size() override { return 0; }
    void compress_to(util::zip_writer_t&) override {}
};

}  // namespace logging::receiver
