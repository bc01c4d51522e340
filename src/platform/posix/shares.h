// Connections to shares, kept for the process. A share is there where its folder is.
#pragma once

#include "platform/posix/types.h"

#define NERR_Success 0
#define NERR_UseNotFound 2250
#define USE_NOFORCE 0u
#define USE_OK 0
#define USE_DISKDEV 0

using NET_API_STATUS = DWORD;

struct USE_INFO_1 {
    LPWSTR ui1_local;
    LPWSTR ui1_remote;
    LPWSTR ui1_password;
    DWORD ui1_status;
    DWORD ui1_asg_type;
    DWORD ui1_refcount;
    DWORD ui1_usecount;
};

struct USE_INFO_2 {
    LPWSTR ui2_local;
    LPWSTR ui2_remote;
    LPWSTR ui2_password;
    DWORD ui2_status;
    DWORD ui2_asg_type;
    DWORD ui2_refcount;
    DWORD ui2_usecount;
    LPWSTR ui2_username;
    LPWSTR ui2_domainname;
};

/// `server` is null, the level 2.
NET_API_STATUS NetUseAdd(LPWSTR server, DWORD level, LPBYTE info, LPDWORD parameter_error);
NET_API_STATUS NetUseDel(LPWSTR server, LPWSTR share, DWORD force);
/// The level is 1; the caller frees `info`.
NET_API_STATUS NetUseGetInfo(LPWSTR server, LPWSTR share, DWORD level, LPBYTE* info);
NET_API_STATUS NetApiBufferFree(LPVOID buffer);
