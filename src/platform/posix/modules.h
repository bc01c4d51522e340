// Loading of libraries.
#pragma once

#include "platform/posix/types.h"

using FARPROC = void (*)();

/// Native libraries are found by the loader's ordinary search. "Advapi32.dll", "kernel32.dll" and
/// "ntdll.dll" are always there and have the few functions that are looked up at run time.
HMODULE LoadLibraryA(LPCSTR name);
HMODULE LoadLibraryW(LPCWSTR name);
BOOL FreeLibrary(HMODULE module);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
HMODULE GetModuleHandleW(LPCWSTR name);
DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size);
