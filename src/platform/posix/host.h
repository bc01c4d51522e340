// Facts about the machine, and identifiers.
#pragma once

#include "platform/posix/errors.h"
#include "platform/posix/types.h"

#define PROCESSOR_ARCHITECTURE_INTEL 0
#define PROCESSOR_ARCHITECTURE_IA64 6
#define PROCESSOR_ARCHITECTURE_AMD64 9
#define SM_SERVERR2 89
#define VER_PLATFORM_WIN32_NT 2
#define VER_NT_WORKSTATION 1
#define VER_NT_SERVER 3
#define VER_SUITE_WH_SERVER 0x8000
#define VER_MINORVERSION 0x01
#define VER_MAJORVERSION 0x02
#define VER_BUILDNUMBER 0x04
#define VER_PLATFORMID 0x08
#define VER_SERVICEPACKMINOR 0x10
#define VER_SERVICEPACKMAJOR 0x20
#define VER_SUITENAME 0x40
#define VER_PRODUCT_TYPE 0x80
#define VER_EQUAL 1
#define VER_GREATER 2
#define VER_GREATER_EQUAL 3
#define VER_LESS 4
#define VER_LESS_EQUAL 5
#define RPC_S_OK 0

struct OSVERSIONINFOA {
    DWORD dwOSVersionInfoSize, dwMajorVersion, dwMinorVersion, dwBuildNumber, dwPlatformId;
    CHAR szCSDVersion[128];
};
struct OSVERSIONINFOEXA {
    DWORD dwOSVersionInfoSize, dwMajorVersion, dwMinorVersion, dwBuildNumber, dwPlatformId;
    CHAR szCSDVersion[128];
    WORD wServicePackMajor, wServicePackMinor, wSuiteMask;
    BYTE wProductType, wReserved;
};
struct OSVERSIONINFOW {
    DWORD dwOSVersionInfoSize, dwMajorVersion, dwMinorVersion, dwBuildNumber, dwPlatformId;
    WCHAR szCSDVersion[128];
};
struct OSVERSIONINFOEXW {
    DWORD dwOSVersionInfoSize, dwMajorVersion, dwMinorVersion, dwBuildNumber, dwPlatformId;
    WCHAR szCSDVersion[128];
    WORD wServicePackMajor, wServicePackMinor, wSuiteMask;
    BYTE wProductType, wReserved;
};
using RTL_OSVERSIONINFOW = OSVERSIONINFOW;
using RTL_OSVERSIONINFOEXW = OSVERSIONINFOEXW;
using LPOSVERSIONINFOA = OSVERSIONINFOA*;
using LPOSVERSIONINFOEXA = OSVERSIONINFOEXA*;
using PRTL_OSVERSIONINFOW = RTL_OSVERSIONINFOW*;

struct SYSTEM_INFO {
    WORD wProcessorArchitecture, wReserved;
    DWORD dwPageSize;
    LPVOID lpMinimumApplicationAddress, lpMaximumApplicationAddress;
    DWORD_PTR dwActiveProcessorMask;
    DWORD dwNumberOfProcessors, dwProcessorType, dwAllocationGranularity;
    WORD wProcessorLevel, wProcessorRevision;
};
using LPSYSTEM_INFO = SYSTEM_INFO*;

enum COMPUTER_NAME_FORMAT {
    ComputerNameNetBIOS,
    ComputerNameDnsHostname,
    ComputerNameDnsDomain,
    ComputerNameDnsFullyQualified
};

BOOL GetComputerNameExW(COMPUTER_NAME_FORMAT format, LPWSTR name, LPDWORD size);
BOOL GetVersionExA(LPOSVERSIONINFOA version);
ULONGLONG VerSetConditionMask(ULONGLONG mask, DWORD type, BYTE condition);
BOOL VerifyVersionInfoA(LPOSVERSIONINFOEXA version, DWORD types, DWORDLONG condition_mask);
BOOL GetProductInfo(DWORD major, DWORD minor, DWORD sp_major, DWORD sp_minor, PDWORD product);
void GetSystemInfo(LPSYSTEM_INFO info);
void GetNativeSystemInfo(LPSYSTEM_INFO info);
int GetSystemMetrics(int index);

using RPC_STATUS = LONG;
using RPC_WSTR = wchar_t*;

HRESULT CoCreateGuid(GUID* guid);
RPC_STATUS UuidToStringW(const UUID* uuid, RPC_WSTR* text);
RPC_STATUS RpcStringFreeW(RPC_WSTR* text);

namespace platform {

/// What RtlGetVersion, which is looked up at run time, gives.
NTSTATUS fill_os_version(PRTL_OSVERSIONINFOW version);

}  // namespace platform
