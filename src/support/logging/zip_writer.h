// A gzip file, written from front to back.
#pragma once

#include <cstddef>
#include <string>

struct gzFile_s;

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
    void close();

  private:
    [[noreturn]] void fail(const char* format, int code) const;

    std::string path;
    gzFile_s* file;
};

}  // namespace util
