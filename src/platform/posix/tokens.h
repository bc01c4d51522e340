// Logon, and the identity that a thread works under.
#pragma once

#include "platform/posix/types.h"

#define LOGON32_LOGON_INTERACTIVE 2
#define LOGON32_PROVIDER_DEFAULT 0

#define TOKEN_IMPERSONATE 0x0004
#define TOKEN_QUERY 0x0008

BOOL LogonUserW(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logon_type,
                DWORD logon_provider, PHANDLE token);
BOOL ImpersonateLoggedOnUser(HANDLE token);
BOOL RevertToSelf();
/// There are no profiles here.
BOOL UnloadUserProfile(HANDLE token, HANDLE profile);
BOOL OpenThreadToken(HANDLE thread, DWORD access, BOOL open_as_self, PHANDLE token);
/// `thread` null stands for the calling thread, `token` null takes the thread's token away.
BOOL SetThreadToken(PHANDLE thread, HANDLE token);
