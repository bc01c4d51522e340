#include "platform/posix/files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/posix/file_object.h"
#include "platform/posix/native_name.h"

namespace platform {

namespace {

// Share modes: one byte for each of what an opener does or denies, locked far behind any content.
constexpr off_t mode_bytes = 0x7FFFFFFFFFFFF000;
// In such an order that what usual openers take, and what they must not meet, are one range each.
enum mode_byte { reads, denies_deleting, denies_writing, writes, denies_reading, mode_byte_count };

struct flock range_of(short type, off_t begin, off_t size) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = begin;
    range.l_len = size;
    return range;
}

// Whether another opener holds a lock that a lock of this type would meet.
bool is_locked(int file, short type, off_t begin, off_t size) {
    struct flock range = range_of(type, begin, size);
    return fcntl(file, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

bool set_lock(int file, short type, off_t begin, off_t size) {
    struct flock range = range_of(type, begin, size);
    return fcntl(file, F_OFD_SETLK, &range) == 0;
}

// Makes looking at the bytes and taking them one step, for all processes.
class share_lock {
  public:
    explicit share_lock(int descriptor) : file(descriptor) {
        while (flock(file, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~share_lock() { flock(file, LOCK_UN); }
    share_lock(const share_lock&) = delete;
    share_lock& operator=(const share_lock&) = delete;

  private:
    const int file;
};

// Calls `use` for each run of bytes that are set, until it gives false.
template <typename Use>
bool for_each_run(const bool (&set)[mode_byte_count], const Use& use) {
    for (int begin = 0; begin < mode_byte_count; ++begin) {
        int end = begin;
        while (end < mode_byte_count && set[end])
            ++end;
        if (end > begin && !use(mode_bytes + begin, end - begin)) return false;
        begin = end;
    }
    return true;
}

bool enter_share_mode(int file, bool read, bool write, DWORD share) {
    const bool deny_reading = !(share & FILE_SHARE_READ);
    const bool deny_writing = !(share & FILE_SHARE_WRITE);
    const bool taken[mode_byte_count] = {read, !(share & FILE_SHARE_DELETE), deny_writing, write,
                                         deny_reading};
    const bool opposed[mode_byte_count] = {deny_reading, false, write, deny_writing, read};
    const share_lock lock(file);
    const auto is_free = [file](off_t at, off_t size) {
        return !is_locked(file, F_WRLCK, at, size);
    };
    const auto take = [file](off_t at, off_t size) {
        set_lock(file, F_RDLCK, at, size);
        return true;
    };
    return for_each_run(opposed, is_free) && for_each_run(taken, take);
}

// Whether somebody has the file open and does not share its deletion, which a moving is too.
bool is_held(const std::string& path) {
    const descriptor_owner file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file.get() >= 0 && is_locked(file.get(), F_WRLCK, mode_bytes + denies_deleting, 1);
}

void flush_folder_of(const std::string& path) {
    const descriptor_owner folder(
        open(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.get() >= 0) fsync(folder.get());
}

// Opens by the rules of the disposition but for truncation, which has to wait for the share mode.
int open_by_disposition(const std::string& path, int flags, DWORD disposition, bool& existed) {
    const bool may_create = disposition != OPEN_EXISTING && disposition != TRUNCATE_EXISTING;
    for (;;) {
        existed = true;
        if (disposition != CREATE_NEW) {
            const int file = open(path.c_str(), flags);
            if (file >= 0 || errno != ENOENT || !may_create) return file;
        }
        existed = false;
        const int file = open(path.c_str(), flags | O_CREAT | O_EXCL, 0666);
        if (file >= 0 || errno != EEXIST || disposition == CREATE_NEW) return file;
    }
}

HANDLE no_file(DWORD code) {
    SetLastError(code);
    return INVALID_HANDLE_VALUE;
}

// Position and size as one number, and back.
off_t joined(DWORD low, DWORD high) {
    return static_cast<off_t>(low | ULONGLONG{high} << 32);
}

bool seek_file(const file_object& file, LONGLONG distance, DWORD method, LONGLONG& reached) {
    const int whences[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (method > FILE_END) return fail(ERROR_INVALID_PARAMETER);
    reached = lseek(file.file.get(), distance, whences[method]);
    if (reached >= 0) return true;
    return fail(errno == EINVAL ? ERROR_NEGATIVE_SEEK : windows_error(errno));
}

// Neither a read nor a write passes over a range that another opener has locked.
bool is_barred(const file_object& file, short type, DWORD size) {
    if (file.is_pipe || file.writes_alone || size == 0) return false;
    struct flock range = range_of(type, 0, size);
    range.l_whence = SEEK_CUR;
    return fcntl(file.file.get(), F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

BOOL change_lock(HANDLE handle, short type, off_t begin, off_t size, DWORD code) {
    const auto file = find<file_object>(handle);
    if (!file) return FALSE;
    if (type == F_WRLCK && !file->writes) return fail(ERROR_ACCESS_DENIED);
    if (begin < 0 || begin >= mode_bytes) return fail(ERROR_INVALID_PARAMETER);
    if (size == 0) return TRUE;
    const off_t room = mode_bytes - begin;
    return set_lock(file->file.get(), type, begin, size < 0 ? room : std::min(size, room)) ||
           fail(code);
}

}  // namespace

HANDLE open_file(LPCWSTR path, DWORD access, DWORD share, DWORD disposition, DWORD flags,
                 bool inheritable) {
    if (!path || !*path) return no_file(ERROR_PATH_NOT_FOUND);
    const bool read = (access & GENERIC_READ) != 0;
    const bool write = (access & GENERIC_WRITE) != 0;
    const bool truncates = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING ||
        (disposition == TRUNCATE_EXISTING && !write)) {
        return no_file(ERROR_INVALID_PARAMETER);
    }
    const native_name name = to_native(path);
    if (!name.valid || (name.names_folder && !is_folder(name.path))) {
        return no_file(ERROR_INVALID_NAME);
    }

    // Share locks can only be set by who may read.
    const int mode = (write || truncates ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY;
    bool existed = false;
    descriptor_owner file(open_by_disposition(name.path, mode, disposition, existed));
    struct stat status = {};
    if (file.get() < 0 && errno == EISDIR && disposition != CREATE_NEW &&
        (flags & FILE_FLAG_BACKUP_SEMANTICS)) {
        file.reset(open(name.path.c_str(), O_RDONLY | O_CLOEXEC));
    }
    if (file.get() < 0 || fstat(file.get(), &status) != 0) {
        const int error = errno;
        const bool new_exists = error == EEXIST && disposition == CREATE_NEW;
        return no_file(new_exists ? ERROR_FILE_EXISTS : windows_error(error, name));
    }
    if (S_ISDIR(status.st_mode)) {
        if (!(flags & FILE_FLAG_BACKUP_SEMANTICS)) return no_file(ERROR_ACCESS_DENIED);
    } else if ((read || write || truncates || (access & DELETE)) &&
               !enter_share_mode(file.get(), read, write || truncates, share)) {
        return no_file(ERROR_SHARING_VIOLATION);
    }
    if (truncates && existed && ftruncate(file.get(), 0) != 0) return no_file(windows_error(errno));

    const auto opened = std::make_shared<file_object>("files", file.release(), read, write,
                                                      !(share & FILE_SHARE_WRITE));
    opened->inheritable = inheritable;
    const bool tells = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
    SetLastError(existed && tells ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return add_handle(opened);
}

}  // namespace platform

using namespace platform;

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                   DWORD disposition, DWORD flags, HANDLE) {
    if (failing(__func__)) return INVALID_HANDLE_VALUE;
    return open_file(path, access, share, disposition, flags,
                     attributes && attributes->bInheritHandle);
}

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED) {
    if (done) *done = 0;
    if (failing(__func__)) return FALSE;
    const auto file = find<file_object>(handle);
    if (!file) return FALSE;
    if (!file->reads) return fail(ERROR_ACCESS_DENIED);
    if (is_barred(*file, F_RDLCK, size)) return fail(ERROR_LOCK_VIOLATION);
    ssize_t count = 0;
    do {
        count = read(file->file.get(), buffer, size);
    } while (count < 0 && errno == EINTR);
    if (count < 0) return fail(errno == EISDIR ? ERROR_INVALID_FUNCTION : windows_error(errno));
    if (count == 0 && size > 0 && file->is_pipe) return fail(ERROR_BROKEN_PIPE);
    if (done) *done = static_cast<DWORD>(count);
    return TRUE;
}

BOOL WriteFile(HANDLE handle, LPCVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED) {
    if (done) *done = 0;
    if (failing(__func__)) return FALSE;
    const auto file = find<file_object>(handle);
    if (!file) return FALSE;
    if (!file->writes) return fail(ERROR_ACCESS_DENIED);
    if (file->is_pipe) return fail(ERROR_NOT_SUPPORTED);
    if (is_barred(*file, F_WRLCK, size)) return fail(ERROR_LOCK_VIOLATION);
    DWORD written = 0;
    while (written < size) {
        const ssize_t count =
            write(file->file.get(), static_cast<const char*>(buffer) + written, size - written);
        if (count > 0) {
            written += static_cast<DWORD>(count);
        } else if (count < 0 && errno != EINTR) {
            if (done) *done = written;
            return fail(windows_error(errno));
        }
    }
    if (done) *done = written;
    return TRUE;
}

BOOL SetFilePointerEx(HANDLE handle, LARGE_INTEGER distance, PLARGE_INTEGER position,
                      DWORD method) {
    if (failing(__func__)) return FALSE;
    const auto file = find<file_object>(handle);
    if (!file) return FALSE;
    LARGE_INTEGER reached;
    if (!seek_file(*file, distance.QuadPart, method, reached.QuadPart)) return FALSE;
    if (position) *position = reached;
    return TRUE;
}

DWORD SetFilePointer(HANDLE handle, LONG distance, PLONG distance_high, DWORD method) {
    if (failing(__func__)) return INVALID_SET_FILE_POINTER;
    const auto file = find<file_object>(handle);
    if (!file) return INVALID_SET_FILE_POINTER;
    const LONGLONG whole =
        distance_high ? joined(static_cast<DWORD>(distance), static_cast<DWORD>(*distance_high))
                      : distance;
    LONGLONG reached = 0;
    if (!seek_file(*file, whole, method, reached)) return INVALID_SET_FILE_POINTER;
    if (distance_high) *distance_high = static_cast<LONG>(reached >> 32);
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(reached);
}

BOOL SetEndOfFile(HANDLE handle) {
    if (failing(__func__)) return FALSE;
    const auto file = find<file_object>(handle);
    if (!file) return FALSE;
    if (!file->writes) return fail(ERROR_ACCESS_DENIED);
    const int descriptor = file->file.get();
    return ftruncate(descriptor, lseek(descriptor, 0, SEEK_CUR)) == 0 || fail(windows_error(errno));
}

BOOL GetFileSizeEx(HANDLE handle, PLARGE_INTEGER size) {
    if (failing(__func__)) return FALSE;
    const auto file = find<file_object>(handle);
    if (!file) return FALSE;
    struct stat status;
    if (fstat(file->file.get(), &status) != 0) return fail(windows_error(errno));
    size->QuadPart = status.st_size;
    return TRUE;
}

BOOL FlushFileBuffers(HANDLE handle) {
    if (failing(__func__)) return FALSE;
    const auto file = find<file_object>(handle);
    if (!file) return FALSE;
    if (!file->writes) return fail(ERROR_ACCESS_DENIED);
    return file->is_pipe || fdatasync(file->file.get()) == 0 || fail(windows_error(errno));
}

BOOL LockFile(HANDLE handle, DWORD offset, DWORD offset_high, DWORD size, DWORD size_high) {
    if (failing(__func__)) return FALSE;
    return change_lock(handle, F_WRLCK, joined(offset, offset_high), joined(size, size_high),
                       ERROR_LOCK_VIOLATION);
}

BOOL UnlockFile(HANDLE handle, DWORD offset, DWORD offset_high, DWORD size, DWORD size_high) {
    if (failing(__func__)) return FALSE;
    return change_lock(handle, F_UNLCK, joined(offset, offset_high), joined(size, size_high),
                       ERROR_NOT_LOCKED);
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) {
    if (failing(__func__)) return FALSE;
    const native_name source = to_native(from);
    const native_name target = to_native(to);
    if (!source.valid || !target.valid) return fail(ERROR_INVALID_NAME);
    struct stat status;
    if (stat(source.path.c_str(), &status) != 0) return fail(windows_error(errno, source));
    if (is_held(source.path)) return fail(ERROR_SHARING_VIOLATION);
    if (stat(target.path.c_str(), &status) == 0) {
        if (!(flags & MOVEFILE_REPLACE_EXISTING)) return fail(ERROR_ALREADY_EXISTS);
        if (S_ISDIR(status.st_mode) || is_held(target.path)) return fail(ERROR_ACCESS_DENIED);
    }
    if (rename(source.path.c_str(), target.path.c_str()) != 0) {
        return fail(windows_error(errno, target));
    }
    if (flags & MOVEFILE_WRITE_THROUGH) flush_folder_of(target.path);
    return TRUE;
}
