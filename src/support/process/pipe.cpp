#include "support/process/pipe.h"

#include <algorithm>

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

std::string CWinPipe::read_to_end(boost::chrono::milliseconds limit) {
    using boost::chrono::steady_clock;
    constexpr DWORD pause_ms = 10;
    const auto end = steady_clock::now() + limit;
    std::string text;
    char block[1024];
    for (;;) {
        // A read waits for what may never come.
        DWORD size = 0;
        if (!PeekNamedPipe(read_handle.get(), nullptr, 0, nullptr, &size, nullptr) ||
            (size > 0 &&
             !ReadFile(read_handle.get(), block, std::min(size, static_cast<DWORD>(sizeof block)),
                       &size, nullptr))) {
            const DWORD error = GetLastError();
            if (error == ERROR_BROKEN_PIPE) {
                return text;
            }
            throw exc::win_sys_exc_t("Failed to read data from pipe.", error);
        }
        text.append(block, size);
        if (steady_clock::now() >= end) {
            return text;
        }
        if (size == 0) {
            Sleep(pause_ms);
        }
    }
}

}  // namespace process_subsystem::pipe
