// Where log lines go.
#pragma once

#include <cstdint>
#include <string>

namespace util {
class zip_writer_t;
}

namespace logging::receiver {

/// The abstract sink. Called under the log's lock; operations throw.
class log_file_t {
  public:
    /// `line` is whole lines, each with its line end.
    virtual void write(const std::string& line) = 0;
    virtual void flush() = 0;
    virtual std::wstring get_path() const = 0;
    virtual std::uint64_t get_size() = 0;
    /// Gives all it holds to `writer` and starts again empty, once the archive is whole.
    virtual void compress_to(util::zip_writer_t& writer) = 0;
    virtual ~log_file_t() = default;
};

}  // namespace logging::receiver
