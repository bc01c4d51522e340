// A gzip file, written from front to back.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "support/win/file.h"

struct z_stream_s;

namespace util {

/// Each operation throws runtime_exc_t with the path and zlib's code.
class zip_writer_t {
  public:
    /// Creates or overwrites the file.
    explicit zip_writer_t(const std::wstring& archive_path);
    ~zip_writer_t();
    zip_writer_t(const zip_writer_t&) = delete;
    zip_writer_t& operator=(const zip_writer_t&) = delete;

    void add(const void* data, std::size_t size);
    /// Nothing is added any more: comes back when the disk has the whole archive.
    void finish();
    void close();

  private:
    void compress(int flush);
    [[noreturn]] void fail(const char* format, int code) const;

    std::string path;
    win::win_file_t::ptr_t file;
    std::unique_ptr<z_stream_s> stream;  ///< null once it is closed
};

}  // namespace util
