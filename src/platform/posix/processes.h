// Child processes and the pipes to them.
#pragma once

#include "platform/posix/types.h"

#define STILL_ACTIVE 259u
#define STARTF_USESTDHANDLES 0x00000100u
#define CREATE_UNICODE_ENVIRONMENT 0x00000400u
#define CREATE_NO_WINDOW 0x08000000u
#define NORMAL_PRIORITY_CLASS 0x00000020u
#define IDLE_PRIORITY_CLASS 0x00000040u
#define HIGH_PRIORITY_CLASS 0x00000080u
#define REALTIME_PRIORITY_CLASS 0x00000100u
#define BELOW_NORMAL_PRIORITY_CLASS 0x00004000u
#define ABOVE_NORMAL_PRIORITY_CLASS 0x00008000u

struct STARTUPINFOW {
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX, dwY, dwXSize, dwYSize, dwXCountChars, dwYCountChars, dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    LPBYTE lpReserved2;
    HANDLE hStdInput, hStdOutput, hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;

struct PROCESS_INFORMATION {
    HANDLE hProcess, hThread;
    DWORD dwProcessId, dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;

BOOL CreatePipe(PHANDLE read_end, PHANDLE write_end, LPSECURITY_ATTRIBUTES attributes, DWORD size);
/// Tells how much there is to read, and nothing else.
BOOL PeekNamedPipe(HANDLE pipe, LPVOID buffer, DWORD size, LPDWORD read, LPDWORD available,
                   LPDWORD left);
/// Programs are executable files under the mapped path, scripts too; the system's "cmd.exe" knows
/// /C with a .bat file. The exit code stays true whatever the process does with its child signal.
BOOL CreateProcessW(LPCWSTR application, LPWSTR command_line,
                    LPSECURITY_ATTRIBUTES process_attributes,
                    LPSECURITY_ATTRIBUTES thread_attributes, BOOL inherit_handles, DWORD flags,
                    LPVOID environment, LPCWSTR folder, LPSTARTUPINFOW startup,
                    LPPROCESS_INFORMATION information);
DWORD GetProcessId(HANDLE process);
BOOL GetExitCodeProcess(HANDLE process, LPDWORD exit_code);
BOOL TerminateProcess(HANDLE process, UINT exit_code);
BOOL SetPriorityClass(HANDLE process, DWORD priority_class);
