#include "support/win/file.h"

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/host/product_options.h"
#include "support/logging/context.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/impersonation.h"

namespace win {

namespace {

constexpr DWORD lock_retry_ms = 100;
constexpr DWORD lock_limit_ms = 5000;

HANDLE open_for_reading(const std::wstring& path, DWORD flags) {
    DWORD share = FILE_SHARE_READ;
    HANDLE handle =
        CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, flags, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
        return handle;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_ACCESS_DENIED) {
        flags |= FILE_FLAG_BACKUP_SEMANTICS;
    } else if (error == ERROR_SHARING_VIOLATION) {
        share |= FILE_SHARE_WRITE;
    } else {
        return handle;
    }
    return CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, flags, nullptr);
}

HANDLE checked(HANDLE handle, const char* failure, const std::wstring& path) {
    if (handle == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t(failure, util::to_ansi_safe(path), error);
    }
    return handle;
}

const char* method_name(DWORD method) {
    return method == FILE_BEGIN     ? "FILE_BEGIN"
           : method == FILE_CURRENT ? "FILE_CURRENT"
                                    : "FILE_END";
}

}  // namespace

win_file_t::win_file_t(HANDLE opened, const std::wstring& file_path)
    : win_handle_t(opened),
      m_path(file_path),
      io_setting(util::SProductOptions::instance().ioSetting) {}

std::string win_file_t::display_path() const {
    return util::to_ansi_safe(m_path);
}

win_file_t::ptr_t win_file_t::create_or_open(const std::wstring& path, DWORD disposition) {
    const auto scope = make_file_scope(path);
    const HANDLE handle =
        checked(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                            disposition, FILE_ATTRIBUTE_NORMAL, nullptr),
                "Failed to create or open file [%1].", path);
    return ptr_t(new win_file_t(handle, path));
}

win_file_t::ptr_t win_file_t::create_or_open(const std::string& path, DWORD disposition) {
    return create_or_open(util::from_ansi(path), disposition);
}

win_file_t::ptr_t win_file_t::open_read_only(const std::wstring& path) {
    const auto scope = make_file_scope(path);
    const HANDLE handle =
        checked(open_for_reading(path, 0), "Failed to open file [%1] in readonly mode.", path);
    return ptr_t(new win_file_t(handle, path));
}

win_file_t::ptr_t win_file_t::open_read_only(const std::string& path) {
    return open_read_only(util::from_ansi(path));
}

win_file_t::ptr_t win_file_t::open_read_only_uncached(const std::wstring& path) {
    const auto scope = make_file_scope(path);
    const HANDLE handle =
        checked(open_for_reading(path, FILE_FLAG_NO_BUFFERING),
                "Failed to open file [%1] in readonly mode (without cache).", path);
    return ptr_t(new win_file_t(handle, path));
}

win_file_t::ptr_t win_file_t::open_read_only_uncached(const std::string& path) {
    return open_read_only_uncached(util::from_ansi(path));
}

std::size_t win_file_t::read(void* buffer, std::size_t size) {
    DWORD read = 0;
    if (!ReadFile(get(), buffer, static_cast<DWORD>(size), &read, nullptr)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to read data from the file [%1].", display_path(), error);
    }
    return read;
}

std::string win_file_t::read_all() {
    std::string content(static_cast<std::size_t>(size()), '\0');
    std::size_t length = 0;
    while (length < content.size()) {
        const std::size_t got = read(&content[length], content.size() - length);
        if (got == 0) {
            break;
        }
        length += got;
    }
    content.resize(length);
    return content;
}

void win_file_t::write(const void* buffer, std::size_t size) {
    DWORD written = 0;
    DWORD error = ERROR_SUCCESS;
    DWORD waited = 0;
    while (!WriteFile(get(), buffer, static_cast<DWORD>(size), &written, nullptr)) {
        error = GetLastError();
        const exc::win_sys_exc_t failure("Failed to write data to the file [%1].", display_path(),
                                         error);
        if (error != ERROR_LOCK_VIOLATION) {
            throw failure;
        }
        logging::g_unnamed_log.log_what(failure);
        Sleep(lock_retry_ms);
        logging::g_unnamed_log.warning("Retry.");
        waited += lock_retry_ms;
        if (waited >= lock_limit_ms) {
            break;
        }
    }
    if (waited < lock_limit_ms) {
        error = ERROR_SUCCESS;
    }
    if (written != size) {
        throw exc::win_sys_exc_t(
            "Failed to write %1 bytes to the file '%2': %3 bytes were written instead",
            util::to_string(std::uint64_t{size}), display_path(), util::to_string(written), error);
    }
}

void win_file_t::seek(std::int64_t distance, DWORD method) {
    LARGE_INTEGER move;
    move.QuadPart = distance;
    if (!SetFilePointerEx(get(), move, nullptr, method)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t(
            "Seek operation has failed. File: [%1]. Distance to move: [%2]. Move method: [%3].",
            display_path(), std::to_string(distance), method_name(method), error);
    }
}

std::uint64_t win_file_t::size() const {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(get(), &size)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("WINAPI: Cannot get file size. File: [%1].", display_path(),
                                 error);
    }
    return static_cast<std::uint64_t>(size.QuadPart);
}

void win_file_t::flush() {
    const DWORD begin = GetTickCount();
    if (!FlushFileBuffers(get())) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to flush file buffers. File: [%1].", display_path(),
                                 error);
    }
    auto& log = util::CCommonLibCtx::instance().performanceLog;
    log.add(display_path() + ": flushed in " + std::to_string(GetTickCount() - begin) + " ms");
    log.flush();
}

void win_file_t::reset_size(std::uint32_t new_size) {
    SetLastError(ERROR_SUCCESS);
    if (SetFilePointer(get(), static_cast<LONG>(new_size), nullptr, FILE_BEGIN) ==
        INVALID_SET_FILE_POINTER) {
        const DWORD error = GetLastError();
        if (error != ERROR_SUCCESS) {
            throw exc::win_sys_exc_t(
                "Unable to reset file size: move operation has failed. Specified file size: [%1]. "
                "File: [%2].",
                util::to_string(new_size), display_path(), error);
        }
    }
    if (!SetEndOfFile(get())) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t(
            "Unable to reset file size: trunk operation has failed. File: [%1].", display_path(),
            error);
    }
}

}  // namespace win
