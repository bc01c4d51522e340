// Error codes, the last error of a thread, and the texts that go with them.
#pragma once

#include <cstdarg>

#include "platform/posix/types.h"

#define ERROR_SUCCESS 0
#define NO_ERROR 0
#define ERROR_INVALID_FUNCTION 1
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_TOO_MANY_OPEN_FILES 4
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_BAD_ENVIRONMENT 10
#define ERROR_OUTOFMEMORY 14
#define ERROR_INVALID_DRIVE 15
#define ERROR_NOT_SAME_DEVICE 17
#define ERROR_NO_MORE_FILES 18
#define ERROR_WRITE_PROTECT 19
#define ERROR_NOT_READY 21
#define ERROR_WRITE_FAULT 29
#define ERROR_READ_FAULT 30
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_LOCK_VIOLATION 33
#define ERROR_HANDLE_EOF 38
#define ERROR_NOT_SUPPORTED 50
#define ERROR_BAD_NETPATH 53
#define ERROR_BAD_NET_NAME 67
#define ERROR_FILE_EXISTS 80
#define ERROR_INVALID_PASSWORD 86
#define ERROR_INVALID_PARAMETER 87
#define ERROR_BROKEN_PIPE 109
#define ERROR_OPEN_FAILED 110
#define ERROR_DISK_FULL 112
#define ERROR_CALL_NOT_IMPLEMENTED 120
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_NAME 123
#define ERROR_INVALID_LEVEL 124
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_NEGATIVE_SEEK 131
#define ERROR_DIR_NOT_EMPTY 145
#define ERROR_NOT_LOCKED 158
#define ERROR_BAD_PATHNAME 161
#define ERROR_LOCK_FAILED 167
#define ERROR_BUSY 170
#define ERROR_ALREADY_EXISTS 183
#define ERROR_BAD_EXE_FORMAT 193
#define ERROR_ENVVAR_NOT_FOUND 203
#define ERROR_FILENAME_EXCED_RANGE 206
#define ERROR_FILE_TOO_LARGE 223
#define ERROR_NO_DATA 232
#define ERROR_MORE_DATA 234
#define WAIT_TIMEOUT 258
#define ERROR_NO_MORE_ITEMS 259
#define ERROR_DIRECTORY 267
#define ERROR_NOACCESS 998
#define ERROR_NO_TOKEN 1008
#define ERROR_BADKEY 1010
#define ERROR_INVALID_FLAGS 1004
#define ERROR_NO_UNICODE_TRANSLATION 1113
#define ERROR_IO_DEVICE 1117
#define ERROR_OLD_WIN_VERSION 1150
#define ERROR_PRIVILEGE_NOT_HELD 1314
#define ERROR_LOGON_FAILURE 1326
#define ERROR_ACCOUNT_DISABLED 1331
#define ERROR_LOGON_TYPE_NOT_GRANTED 1385
#define ERROR_BAD_IMPERSONATION_LEVEL 1346
#define ERROR_NO_SYSTEM_RESOURCES 1450
#define ERROR_TIMEOUT 1460

#define S_OK 0
#define S_FALSE 1
#define E_NOTIMPL static_cast<HRESULT>(0x80004001u)
#define E_NOINTERFACE static_cast<HRESULT>(0x80004002u)
#define E_FAIL static_cast<HRESULT>(0x80004005u)
#define E_ACCESSDENIED static_cast<HRESULT>(0x80070005u)
#define E_OUTOFMEMORY static_cast<HRESULT>(0x8007000Eu)
#define E_INVALIDARG static_cast<HRESULT>(0x80070057u)
#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)


#define EXCEPTION_ACCESS_VIOLATION 0xC0000005u
#define EXCEPTION_IN_PAGE_ERROR 0xC0000006u
#define EXCEPTION_ILLEGAL_INSTRUCTION 0xC000001Du
#define EXCEPTION_FLT_DIVIDE_BY_ZERO 0xC000008Eu
#define EXCEPTION_FLT_INVALID_OPERATION 0xC0000090u
#define EXCEPTION_INT_DIVIDE_BY_ZERO 0xC0000094u
#define EXCEPTION_INT_OVERFLOW 0xC0000095u
#define EXCEPTION_STACK_OVERFLOW 0xC00000FDu

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x0100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x0200
#define FORMAT_MESSAGE_FROM_HMODULE 0x0800
#define FORMAT_MESSAGE_FROM_SYSTEM 0x1000

DWORD GetLastError();
void SetLastError(DWORD code);
DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD message_id, DWORD language, LPWSTR buffer,
                     DWORD size, std::va_list* arguments);
HLOCAL LocalFree(HLOCAL memory);

/// Inside platform::call_guarded it ends the call with `code`, elsewhere the process.
[[noreturn]] void RaiseException(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* arguments);

using BSTR = wchar_t*;
BSTR SysAllocString(const wchar_t* text);
void SysFreeString(BSTR text);
UINT SysStringLen(BSTR text);

struct IUnknown {
    virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

  protected:
    ~IUnknown() = default;
};

struct IErrorInfo : IUnknown {
    virtual HRESULT GetGUID(GUID* guid) = 0;
    virtual HRESULT GetSource(BSTR* source) = 0;
    virtual HRESULT GetDescription(BSTR* description) = 0;
    virtual HRESULT GetHelpFile(BSTR* file) = 0;
    virtual HRESULT GetHelpContext(DWORD* context) = 0;

  protected:
    ~IErrorInfo() = default;
};

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);
HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
