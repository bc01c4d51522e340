// A byte buffer that values are written to and read back from.
#pragma once

#include <cstdint>
#include <string>

namespace exc {

class byte_writer_t {
  public:
    void write_uint32(std::uint32_t value);
    void write_bool(bool value);
    void write_string(const std::string& text);

    const std::string& bytes() const { return buffer; }

  private:
    void append(const void* data, std::size_t size);

    std::string buffer;
};

/// Throws exc_base_t where the bytes end too early.
class byte_reader_t {
  public:
    explicit byte_reader_t(std::string bytes) : buffer(std::move(bytes)) {}

    std::uint32_t read_uint32();
    bool read_bool();
    std::string read_string();

  private:
    void extract(void* data, std::size_t size);

    std::string buffer;
    std::size_t position = 0;
};

}  // namespace exc
