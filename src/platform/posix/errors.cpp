#include "platform/posix/errors.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <string>

#include "platform/posix/handles.h"

namespace {

thread_local DWORD t_last_error = 0;
thread_local IErrorInfo* t_error_info = nullptr;

constexpr DWORD message_not_found = 317;

struct message {
    DWORD code;
    const wchar_t* text;
};

const message messages[] = {
    {0, L"The operation completed successfully."},
    {1, L"Incorrect function."},
    {2, L"The system cannot find the file specified."},
    {3, L"The system cannot find the path specified."},
    {4, L"The system cannot open the file."},
    {5, L"Access is denied."},
    {6, L"The handle is invalid."},
    {8, L"Not enough memory resources are available to process this command."},
    {10, L"The environment is incorrect."},
    {13, L"The data is invalid."},
    {14, L"Not enough memory resources are available to complete this operation."},
    {15, L"The system cannot find the drive specified."},
    {17, L"The system cannot move the file to a different disk drive."},
    {18, L"There are no more files."},
    {19, L"The media is write protected."},
    {21, L"The device is not ready."},
    {29, L"The system cannot write to the specified device."},
    {30, L"The system cannot read from the specified device."},
    {31, L"A device attached to the system is not functioning."},
    {32, L"The process cannot access the file because it is being used by another process."},
    {33,
     L"The process cannot access the file because another process has locked a portion of the "
     L"file."},
    {38, L"Reached the end of the file."},
    {50, L"The request is not supported."},
    {53, L"The network path was not found."},
    {64, L"The specified network name is no longer available."},
    {67, L"The network name cannot be found."},
    {80, L"The file exists."},
    {86, L"The specified network password is not correct."},
    {87, L"The parameter is incorrect."},
    {109, L"The pipe has been ended."},
    {110, L"The system cannot open the device or file specified."},
    {112, L"There is not enough space on the disk."},
    {120, L"This function is not supported on this system."},
    {122, L"The data area passed to a system call is too small."},
    {123, L"The filename, directory name, or volume label syntax is incorrect."},
    {124, L"The system call level is not correct."},
    {126, L"The specified module could not be found."},
    {127, L"The specified procedure could not be found."},
    {131, L"An attempt was made to move the file pointer before the beginning of the file."},
    {145, L"The directory is not empty."},
    {158, L"The segment is already unlocked."},
    {161, L"The specified path is invalid."},
    {167, L"Unable to lock a region of a file."},
    {170, L"The requested resource is in use."},
    {183, L"Cannot create a file when that file already exists."},
    {193, L"%1 is not a valid Win32 application."},
    {203, L"The system could not find the environment option that was entered."},
    {206, L"The filename or extension is too long."},
    {223, L"The file size exceeds the limit allowed and cannot be saved."},
    {232, L"The pipe is being closed."},
    {234, L"More data is available."},
    {258, L"The wait operation timed out."},
    {259, L"No more data is available."},
    {267, L"The directory name is invalid."},
    {998, L"Invalid access to memory location."},
    {1004, L"Invalid flags."},
    {1008, L"An attempt was made to reference a token that does not exist."},
    {1009, L"The configuration registry database is corrupt."},
    {1010, L"The configuration registry key is invalid."},
    {1013, L"The configuration registry key could not be written."},
    {1018, L"Illegal operation attempted on a registry key that has been marked for deletion."},
    {1113, L"No mapping for the Unicode character exists in the target multi-byte code page."},
    {1117, L"The request could not be performed because of an I/O device error."},
    {1150, L"The specified program requires a newer version of Windows."},
    {1314, L"A required privilege is not held by the client."},
    {1326, L"The user name or password is incorrect."},
    {1331, L"This user can't sign in because this account is currently disabled."},
    {1346,
     L"Either a required impersonation level was not provided, or the provided impersonation level "
     L"is invalid."},
    {1385,
     L"Logon failure: the user has not been granted the requested logon type at this computer."},
    {1450, L"Insufficient system resources exist to complete the requested service."},
    {1460, L"This operation returned because the timeout period expired."},
    {2250, L"This network connection does not exist."},
};

}  // namespace

using namespace platform;

DWORD GetLastError() {
    return t_last_error;
}
void SetLastError(DWORD code) {
    t_last_error = code;
}

DWORD FormatMessageW(DWORD flags, LPCVOID, DWORD message_id, DWORD, LPWSTR buffer, DWORD size,
                     std::va_list*) {
    if (failing(__func__)) return 0;
    // No module here carries a table of messages.
    const auto found = std::find_if(std::begin(messages), std::end(messages),
                                    [&](const message& m) { return m.code == message_id; });
    if (!(flags & FORMAT_MESSAGE_FROM_SYSTEM) || found == std::end(messages)) {
        return fail(message_not_found);
    }
    const std::wstring text = std::wstring(found->text) + L"\r\n";
    wchar_t* target = buffer;
    if (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) {
        target = static_cast<wchar_t*>(std::malloc((text.size() + 1) * sizeof(wchar_t)));
        if (!target) return fail(ERROR_NOT_ENOUGH_MEMORY);
        *reinterpret_cast<wchar_t**>(buffer) = target;
    } else if (size <= text.size()) {
        return fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::wmemcpy(target, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

HLOCAL LocalFree(HLOCAL memory) {
    std::free(memory);
    return nullptr;
}

BSTR SysAllocString(const wchar_t* text) {
    if (!text) return nullptr;
    const std::size_t length = std::wcslen(text);
    auto* block = static_cast<wchar_t*>(std::malloc((length + 2) * sizeof(wchar_t)));
    if (!block) return nullptr;
    block[0] = static_cast<wchar_t>(length);
    std::wmemcpy(block + 1, text, length + 1);
    return block + 1;
}

void SysFreeString(BSTR text) {
    if (text) std::free(text - 1);
}

UINT SysStringLen(BSTR text) {
    return text ? static_cast<UINT>(text[-1]) : 0;
}

HRESULT GetErrorInfo(ULONG, IErrorInfo** info) {
    *info = t_error_info;
    t_error_info = nullptr;
    return *info ? S_OK : S_FALSE;
}

HRESULT SetErrorInfo(ULONG, IErrorInfo* info) {
    if (info) info->AddRef();
    if (t_error_info) t_error_info->Release();
    t_error_info = info;
    return S_OK;
}
