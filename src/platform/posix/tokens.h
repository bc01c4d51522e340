// Logon, and the identity that a thread works under.
#pragma once

#include "platform/posix/types.h"

#define LOGON32_LOGON_INTERACTIVE 2
#define LOGON32_LOGON_NETWORK 3
#define LOGON32_LOGON_BATCH 4
#define LOGON32_PROVIDER_DEFAULT 0

#define TOKEN_ASSIGN_PRIMARY 0x0001
#define TOKEN_DUPLICATE 0x0002
#define TOKEN_IMPERSONATE 0x0004
#define TOKEN_QUERY 0x0008
#define TOKEN_ALL_ACCESS 0xF01FF

enum SECURITY_IMPERSONATION_LEVEL {
    SecurityAnonymous,
    SecurityIdentification,
    SecurityImpersonation,
    SecurityDelegation
};

BOOL LogonUserW(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logon_type,
                DWORD logon_provider, PHANDLE token);
BOOL ImpersonateLoggedOnUser(HANDLE token);
BOOL RevertToSelf();
/// There are no profiles here.
BOOL UnloadUserProfile(HANDLE token, HANDLE profile);
BOOL DuplicateToken(HANDLE token, SECURITY_IMPERSONATION_LEVEL level, PHANDLE duplicate);
BOOL OpenThreadToken(HANDLE thread, DWORD access, BOOL open_as_self, PHANDLE token);
/// `thread` null stands for the calling thread, `token` null takes the thread's token away.
BOOL SetThreadToken(PHANDLE thread, HANDLE token);

// A security context, which elsewhere comes out of a handshake; `dwLower` is a token here.
#define SEC_E_OK S_OK
struct CtxtHandle {
    ULONG_PTR dwLower;
    ULONG_PTR dwUpper;
};
using PCtxtHandle = CtxtHandle*;
using SECURITY_STATUS = LONG;

SECURITY_STATUS ImpersonateSecurityContext(PCtxtHandle context);
SECURITY_STATUS RevertSecurityContext(PCtxtHandle context);
