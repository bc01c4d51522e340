#include "config/logon.h"

#include <exception>

#include "support/exc/exc.h"
#include "support/text/base64.h"
#include "support/text/convert.h"

namespace specific::oracle {

void CAccessToken::clear() {
    if (profile && token) {
        UnloadUserProfile(token, profile);
    }
    profile = nullptr;
    if (token) {
        CloseHandle(token);
    }
    token = nullptr;
}

void split_user_name(const std::wstring& name, std::wstring& domain, std::wstring& user,
                     bool& isUpn) {
    isUpn = false;
    const auto backslash = name.find(L'\\');
    if (backslash != std::wstring::npos) {
        domain = name.substr(0, backslash);
        user = name.substr(backslash + 1);
    } else if (name.find(L'@') != std::wstring::npos) {
        isUpn = true;
        domain.clear();
        user.clear();
    } else {
        domain = L".";
        user = name;
    }
}

std::wstring widen_password(const std::string& password) {
    try {
        return util::from_ansi(password);
    } catch (const std::exception&) {
        throw exc::runtime_exc_t(std::string("A password does not fit the code page."));
    }
}

void logon_user(const std::wstring& name, const std::wstring& encodedPassword,
                CAccessToken& token) {
    const std::wstring password =
        widen_password(util::base64_decode(util::to_ansi(encodedPassword)));
    std::wstring domain;
    std::wstring user;
    bool is_upn = false;
    split_user_name(name, domain, user, is_upn);
    token.clear();
    const BOOL logged_on =
        is_upn ? LogonUserW(name.c_str(), nullptr, password.c_str(), LOGON32_LOGON_INTERACTIVE,
                            LOGON32_PROVIDER_DEFAULT, &token.token)
               : LogonUserW(user.c_str(), domain.c_str(), password.c_str(),
                            LOGON32_LOGON_INTERACTIVE, LOGON32_PROVIDER_DEFAULT, &token.token);
    if (!logged_on) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t(
            is_upn ? "Failed to logon UPN user [%1]" : "Failed to logon user [%1]",
            util::to_ansi_safe(name), error);
    }
}

void impersonate_user(HANDLE token_handle) {
    if (!token_handle) {
        throw exc::runtime_exc_t("User credentials not specified or logon error");
    }
    if (!ImpersonateLoggedOnUser(token_handle)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to impersonate logged on user", error);
    }
}

}  // namespace specific::oracle
