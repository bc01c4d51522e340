// Work under another account of the operating system.
#pragma once

#include <string>

#include "platform/platform.h"

namespace specific::oracle {

/// A logon token and, where it has one, the handle of the user's profile. Gives both back.
class CAccessToken {
  public:
    CAccessToken() = default;
    ~CAccessToken() { clear(); }
    CAccessToken(const CAccessToken&) = delete;
    CAccessToken& operator=(const CAccessToken&) = delete;

    void clear();

    HANDLE token = nullptr;
    HANDLE profile = nullptr;
};

/// "domain\user", "user@domain", or "user", whose domain is then ".".
void split_user_name(const std::wstring& name, std::wstring& domain, std::wstring& user,
                     bool& isUpn);

/// The bytes of a password as text. A failure does not repeat them.
std::wstring widen_password(const std::string& password);

/// Logs an account on interactively. `encodedPassword` is base64. Throws win_sys_exc_t.
void logon_user(const std::wstring& name, const std::wstring& encodedPassword, CAccessToken& token);

/// The calling thread acts under the token from now on, until RevertToSelf. Throws.
void impersonate_user(HANDLE token_handle);

}  // namespace specific::oracle
