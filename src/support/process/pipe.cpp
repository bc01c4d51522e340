#include "support/process/pipe.h"

#include "platform/platform.h"
#include "support/exc/exc.h"

namespace process_subsystem::pipe {

CWinPipe::CWinPipe() {
    SECURITY_ATTRIBUTES inheritable{};
    inheritable.nLength = sizeof inheritable;
    inheritable.bInheritHandle = TRUE;
    HANDLE read_end = nullptr;
    HANDLE write_end = nullptr;
    if (!CreatePipe(&read_end, &write_end, &inheritable, 0)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to create pipe.", error);
    }
    read_handle.reset(read_end);
    write_handle.reset(write_end);
}

std::string CWinPipe::read_to_end() {
    std::string text;
    char block[1024];
    for (;;) {
        DWORD read = 0;
        if (!ReadFile(read_handle.get(), block, sizeof block, &read, nullptr)) {
            const DWORD error = GetLastError();
            if (error == ERROR_BROKEN_PIPE) {
                return text;
            }
            throw exc::win_sys_exc_t("Failed to read data from pipe.", error);
        }
        text.append(block, read);
    }
}

}  // namespace process_subsystem::pipe
