// What is known by a path alone.
#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cwchar>

#include "platform/paths.h"
#include "platform/posix/files.h"
#include "platform/posix/handles.h"
#include "platform/posix/native_name.h"
#include "platform/posix/sandbox.h"
#include "platform/posix/unicode.h"

namespace platform {

bool is_folder(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

namespace {

std::string parent_of(const std::string& path) {
    const std::size_t slash = path.find_last_of('/', path.size() - 2);
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

DWORD missing(const native_name& name) {
    return is_folder(parent_of(name.path)) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

}  // namespace

DWORD windows_error(int error) {
    switch (error) {
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
        case ELOOP:
            return ERROR_PATH_NOT_FOUND;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case EACCES:
        case EPERM:
        case EISDIR:
        case ETXTBSY:
            return ERROR_ACCESS_DENIED;
        case EBADF:
            return ERROR_INVALID_HANDLE;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EXDEV:
            return ERROR_NOT_SAME_DEVICE;
        case EROFS:
            return ERROR_WRITE_PROTECT;
        case ENOSPC:
        case EDQUOT:
            return ERROR_DISK_FULL;
        case EEXIST:
            return ERROR_ALREADY_EXISTS;
        case ENOTEMPTY:
            return ERROR_DIR_NOT_EMPTY;
        case EINVAL:
            return ERROR_INVALID_PARAMETER;
        case EFBIG:
            return ERROR_FILE_TOO_LARGE;
        case ENAMETOOLONG:  // of one component
            return ERROR_INVALID_NAME;
        case EFAULT:
            return ERROR_NOACCESS;
        case EIO:
            return ERROR_IO_DEVICE;
        case ENOEXEC:
            return ERROR_BAD_EXE_FORMAT;
        case EPIPE:
            return ERROR_BROKEN_PIPE;
        default:
            return ERROR_GEN_FAILURE;
    }
}

DWORD windows_error(int error, const native_name& name) {
    return error == ENOENT || error == ENOTDIR ? missing(name) : windows_error(error);
}

namespace {

// As the calls give a path: its length, or what the buffer takes where it is too small.
DWORD give_path(const std::wstring& path, LPWSTR buffer, DWORD size) {
    if (size <= path.size()) return static_cast<DWORD>(path.size() + 1);
    std::wmemcpy(buffer, path.c_str(), path.size() + 1);
    return static_cast<DWORD>(path.size());
}

}  // namespace

}  // namespace platform

using namespace platform;

BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
    if (failing(__func__)) return FALSE;
    const native_name name = to_native(path);
    if (!name.valid) return fail(ERROR_INVALID_NAME);
    if (mkdir(name.path.c_str(), 0777) == 0) return TRUE;
    const DWORD code = windows_error(errno, name);
    // The last component is what is to be made, so a missing one lies above it.
    return fail(code == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : code);
}

DWORD GetTempPathW(DWORD size, LPWSTR buffer) {
    return failing(__func__) ? 0 : give_path(L"C:\\Windows\\Temp\\", buffer, size);
}

UINT GetSystemDirectoryW(LPWSTR buffer, UINT size) {
    return failing(__func__) ? 0 : give_path(L"C:\\Windows\\system32", buffer, size);
}

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE, DWORD, LPWSTR path) {
    if (failing(__func__)) {
        const DWORD code = GetLastError();
        return static_cast<HRESULT>(code <= 0xFFFF ? 0x80070000u | code : code);
    }
    if ((folder & ~CSIDL_FLAG_CREATE) != CSIDL_COMMON_APPDATA) return E_INVALIDARG;
    std::wcscpy(path, L"C:\\ProgramData");
    if (folder & CSIDL_FLAG_CREATE) mkdir(native_path(path).c_str(), 0777);
    return S_OK;
}

UINT GetDriveTypeW(LPCWSTR root) {
    const std::wstring path = root ? root : L"C:\\";
    const std::string kind =
        path.size() > 1 && path[1] == L':' ? drive_kind(static_cast<char>(path[0] | 0x20)) : "";
    if (!is_folder(native_path(path).string())) return DRIVE_NO_ROOT_DIR;
    if (PathIsUNCW(path.c_str()) || kind == "remote") return DRIVE_REMOTE;
    if (kind == "removable") return DRIVE_REMOVABLE;
    return kind == "cdrom" ? DRIVE_CDROM : DRIVE_FIXED;
}

BOOL PathIsUNCW(LPCWSTR path) {
    if (!path || path[0] != L'\\' || path[1] != L'\\') return FALSE;
    return path[2] != L'?' || same_name(std::wstring(path).substr(2, 6), L"?\\UNC\\");
}
