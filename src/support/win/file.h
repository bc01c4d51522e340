// A file of the system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "support/win/handle.h"

namespace win {

/// An open file. Failures are win_sys_exc_t with the path in the message. Used by one thread at a
/// time.
class win_file_t : public win_handle_t {
  public:
    using ptr_t = boost::shared_ptr<win_file_t>;

    /// For reading and writing, shared for reading. `disposition` is CreateFile's: OPEN_ALWAYS,
    /// CREATE_ALWAYS and so on.
    static ptr_t create_or_open(const std::wstring& path, DWORD disposition = OPEN_ALWAYS);
    static ptr_t create_or_open(const std::string& path, DWORD disposition = OPEN_ALWAYS);
    /// For reading, shared for reading, and for writing where another has it open so. Folders can
    /// be opened.
    static ptr_t open_read_only(const std::wstring& path);
    static ptr_t open_read_only(const std::string& path);
    /// The same past the system's cache.
    static ptr_t open_read_only_uncached(const std::wstring& path);
    static ptr_t open_read_only_uncached(const std::string& path);

    /// The number of bytes read, 0 at the end.
    std::size_t read(void* buffer, std::size_t size);
    /// From the current position to the end, or as far as the file was long when it began.
    std::string read_all();
    /// Writes all or throws. Waits up to 5 seconds for a range that another has locked.
    void write(const void* buffer, std::size_t size);
    /// `method` is FILE_BEGIN, FILE_CURRENT or FILE_END.
    void seek(std::int64_t distance, DWORD method);
    std::uint64_t size() const;
    void flush();
    void reset_size(std::uint32_t new_size);

    const std::wstring& path() const { return m_path; }

  private:
    win_file_t(HANDLE opened, const std::wstring& file_path);

    std::string display_path() const;

    std::wstring m_path;
    std::uint32_t io_setting;
};

}  // namespace win
