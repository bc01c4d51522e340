// Files, folders and drives.
#pragma once

#include "platform/posix/types.h"

#define DELETE 0x00010000u
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_SHARE_READ 1
#define FILE_SHARE_WRITE 2
#define FILE_SHARE_DELETE 4
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5
#define FILE_ATTRIBUTE_READONLY 0x01
#define FILE_ATTRIBUTE_DIRECTORY 0x10
#define FILE_ATTRIBUTE_ARCHIVE 0x20
#define FILE_ATTRIBUTE_NORMAL 0x80
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000u
#define FILE_FLAG_NO_BUFFERING 0x20000000u
#define FILE_FLAG_WRITE_THROUGH 0x80000000u
#define MOVEFILE_REPLACE_EXISTING 1
#define MOVEFILE_WRITE_THROUGH 8
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define DRIVE_UNKNOWN 0
#define DRIVE_NO_ROOT_DIR 1
#define DRIVE_REMOVABLE 2
#define DRIVE_FIXED 3
#define DRIVE_REMOTE 4
#define DRIVE_CDROM 5
#define CSIDL_COMMON_APPDATA 0x0023
#define CSIDL_FLAG_CREATE 0x8000
#define SHGFP_TYPE_CURRENT 0

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                   DWORD disposition, DWORD flags, HANDLE template_file);
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped);
/// Pipes are only read here: ERROR_NOT_SUPPORTED.
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped);
DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distance_high, DWORD method);
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method);
BOOL SetEndOfFile(HANDLE file);
BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);
BOOL FlushFileBuffers(HANDLE file);
/// An exclusive lock needs a handle with write access.
BOOL LockFile(HANDLE file, DWORD offset, DWORD offset_high, DWORD size, DWORD size_high);
BOOL UnlockFile(HANDLE file, DWORD offset, DWORD offset_high, DWORD size, DWORD size_high);
/// Within one drive. MOVEFILE_REPLACE_EXISTING and MOVEFILE_WRITE_THROUGH are known.
BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags);

BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes);
DWORD GetTempPathW(DWORD size, LPWSTR buffer);
UINT GetSystemDirectoryW(LPWSTR buffer, UINT size);
HRESULT SHGetFolderPathW(HWND window, int folder, HANDLE token, DWORD flags, LPWSTR path);
UINT GetDriveTypeW(LPCWSTR root);
BOOL PathIsUNCW(LPCWSTR path);
