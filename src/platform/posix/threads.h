// Threads, events, waiting, and the environment of the process.
#pragma once

#include "platform/posix/types.h"

#define WAIT_OBJECT_0 0u
#define WAIT_FAILED 0xFFFFFFFFu

#define HANDLE_FLAG_INHERIT 1

DWORD GetCurrentThreadId();
DWORD GetCurrentProcessId();
/// As host.ini has it (`session`), else 1.
BOOL ProcessIdToSessionId(DWORD process, DWORD* session);
HANDLE GetCurrentThread();
HANDLE GetCurrentProcess();
BOOL CloseHandle(HANDLE handle);
BOOL SetHandleInformation(HANDLE handle, DWORD mask, DWORD flags);

HANDLE CreateEventA(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state,
                    LPCSTR name);
BOOL SetEvent(HANDLE event);
/// Takes events, threads and processes.
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);

/// "NAME=value" in the ANSI code page; an empty value removes the variable. 0, or -1 on failure.
int _putenv(const char* assignment);
DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size);
