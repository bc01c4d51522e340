// Reading the registry.
#pragma once

#include "platform/posix/types.h"

using HKEY = struct HKEY__*;
using PHKEY = HKEY*;
using REGSAM = DWORD;

#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000002u)))

#define KEY_QUERY_VALUE 0x0001
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_READ 0x20019
#define KEY_WOW64_64KEY 0x0100

#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7
#define REG_QWORD 11

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR path, DWORD options, REGSAM access, PHKEY result);
LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR path, DWORD options, REGSAM access, PHKEY result);
LSTATUS RegOpenKeyTransactedW(HKEY key, LPCWSTR path, DWORD options, REGSAM access, PHKEY result,
                              HANDLE transaction, PVOID extended);
LSTATUS RegCloseKey(HKEY key);
LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR class_name, LPDWORD class_size, LPDWORD reserved,
                         LPDWORD subkeys, LPDWORD longest_subkey, LPDWORD longest_class,
                         LPDWORD values, LPDWORD longest_name, LPDWORD longest_data,
                         LPDWORD security_size, PFILETIME last_write);
LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD reserved,
                      LPWSTR class_name, LPDWORD class_size, PFILETIME last_write);
LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD reserved,
                      LPDWORD type, LPBYTE data, LPDWORD data_size);
LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD data_size);
/// The data of text values is wchar_t text, and its size counts those.
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD data_size);
