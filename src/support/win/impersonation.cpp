#include "support/win/impersonation.h"

#include <cstdio>
#include <exception>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include "support/exc/exc.h"
#include "support/exc/rethrow.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace win {

namespace {

using logging::g_unnamed_log;
using lock_t = boost::lock_guard<boost::mutex>;
using context_ptr = boost::shared_ptr<impersonation_context_t>;

struct is_less_ignoring_case {
    bool operator()(const std::wstring& a, const std::wstring& b) const {
        return boost::ilexicographical_compare(a, b);
    }
};

struct table_t {
    boost::mutex lock;
    std::map<std::wstring, context_ptr, is_less_ignoring_case> contexts;
};

table_t& table() {
    static table_t contexts;
    return contexts;
}

void check_access(const std::wstring& path) {
    static boost::mutex lock;
    static security::CUnrestrictedFilesAccessPermissions permissions;
    const lock_t held(lock);
    permissions.check_access(path);
}

// "\\server\share" of a path on one; empty where server or share is missing.
std::wstring share_of(const std::wstring& path) {
    std::vector<std::wstring> parts;
    boost::split(parts, path, boost::is_any_of(L"\\/"), boost::token_compress_on);
    if (!parts.empty() && parts.back().empty()) {
        parts.pop_back();
    }
    // The first part is the nothing in front of the leading separators.
    const bool is_long = parts.size() > 2 && parts[1] == L"?" && boost::iequals(parts[2], L"UNC");
    const std::size_t server = is_long ? 3 : 1;
    return parts.size() < server + 2 ? std::wstring()
                                     : L"\\\\" + parts[server] + L"\\" + parts[server + 1];
}

std::string status_text(SECURITY_STATUS status) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(status));
    return text;
}

}  // namespace

void impersonation_context_t::enter(win_handle_t& token) {
    const DWORD thread = GetCurrentThreadId();
    {
        const lock_t held(lock);
        if (++use_counts[thread] > 1) {
            return;
        }
    }
    try {
        begin(token);
    } catch (const std::exception& e) {
        const lock_t held(lock);
        use_counts.erase(thread);
        exc::rethrow_with_trace("Failed to impersonate user.", e);
    }
}

void impersonation_context_t::leave() {
    {
        const lock_t held(lock);
        const auto count = use_counts.find(GetCurrentThreadId());
        if (--count->second > 0) {
            return;
        }
        use_counts.erase(count);
    }
    end();
}

void token_context_t::begin(win_handle_t& token) {
    HANDLE duplicate = nullptr;
    if (DuplicateToken(logon.get(), SecurityImpersonation, &duplicate)) {
        token.reset(duplicate);
        if (ImpersonateLoggedOnUser(duplicate)) {
            return;
        }
    }
    const DWORD error = GetLastError();
    const exc::win_sys_exc_t failure("Failed to impersonate thread.", error);
    g_unnamed_log.log_what_thread(failure);
    throw failure;
}

void token_context_t::end() {
    if (!RevertToSelf()) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Impersonation session failed to revert to self.", error);
    }
}

void security_context_t::begin(win_handle_t&) {
    logging::log_scope_t scope(g_unnamed_log, "Impersonating security context.");
    if (!context) {
        throw exc::runtime_exc_t("Security context is null.");
    }
    const SECURITY_STATUS status = ImpersonateSecurityContext(context);
    if (status != SEC_E_OK) {
        throw exc::runtime_exc_t("Security context failed to impersonate: %1.",
                                 status_text(status));
    }
    scope.ok();
}

void security_context_t::end() {
    logging::log_scope_t scope(g_unnamed_log, "Reverting security context.");
    const SECURITY_STATUS status = RevertSecurityContext(context);
    if (status != SEC_E_OK) {
        throw exc::runtime_exc_t("Security context failed to revert to self: %1.",
                                 status_text(status));
    }
    scope.ok();
}

share_connection_t::share_connection_t(const std::wstring& share, const std::wstring& user,
                                       const std::wstring& password)
    : m_share(share), m_user(user), m_password(password) {}

bool share_connection_t::is_connected() {
    const std::string share = util::to_ansi_safe(m_share);
    logging::log_scope_t scope(g_unnamed_log,
                               "Checking that NetUse connection to share '%1' is exist.", share);
    BYTE* buffer = nullptr;
    const NET_API_STATUS status = NetUseGetInfo(nullptr, &m_share[0], 1, &buffer);
    if (status == NERR_Success) {
        const USE_INFO_1 info = *reinterpret_cast<const USE_INFO_1*>(buffer);
        NetApiBufferFree(buffer);
        g_unnamed_log.line("Share: '%1', Status: '%2', RefCount: '%3', UseCount: '%4'.", share,
                           util::to_string(std::uint32_t{info.ui1_status}),
                           util::to_string(std::uint32_t{info.ui1_refcount}),
                           util::to_string(std::uint32_t{info.ui1_usecount}));
    } else if (status == NERR_UseNotFound) {
        g_unnamed_log.line("Connection to share '%1' not found.", share);
    } else {
        g_unnamed_log.log_what(exc::win_sys_exc_t(
            "Failed to get information about connection to share '%1'", share, status));
    }
    scope.ok();
    return status == NERR_Success;
}

void share_connection_t::begin(win_handle_t&) {
    const lock_t held(state);
    if (!is_connected()) {
        const std::string share = util::to_ansi_safe(m_share);
        logging::log_scope_t scope(g_unnamed_log, "Creating NetUse connection to share '%1'",
                                   share);
        std::wstring user = m_user;
        std::wstring domain;
        const auto backslash = user.find(L'\\');
        if (backslash != std::wstring::npos) {
            domain = user.substr(0, backslash);
            user.erase(0, backslash + 1);
        }
        USE_INFO_2 info = {};
        info.ui2_remote = &m_share[0];
        info.ui2_asg_type = USE_DISKDEV;
        info.ui2_username = user.empty() ? nullptr : &user[0];
        info.ui2_domainname = domain.empty() ? nullptr : &domain[0];
        info.ui2_password = &m_password[0];
        const NET_API_STATUS status =
            NetUseAdd(nullptr, 2, reinterpret_cast<BYTE*>(&info), nullptr);
        if (status != NERR_Success) {
            throw exc::win_sys_exc_t("Failed to create NetUse connection to share '%1'", share,
                                     status);
        }
        scope.ok();
    }
    ++users;
}

void share_connection_t::end() {
    const lock_t held(state);
    if (--users > 0 || !is_connected()) {
        return;
    }
    const std::string share = util::to_ansi_safe(m_share);
    logging::log_scope_t scope(g_unnamed_log, "Deleting NetUse connection to share '%1'.", share);
    const NET_API_STATUS status = NetUseDel(nullptr, &m_share[0], USE_NOFORCE);
    if (status != NERR_Success) {
        throw exc::win_sys_exc_t("Failed to delete connection to share '%1'", share, status);
    }
    scope.ok();
}

win_impersonation_session_t::win_impersonation_session_t(const context_ptr& used) : context(used) {
    if (context) {
        context->enter(token);
        entered = true;
    }
}

win_impersonation_session_t::~win_impersonation_session_t() {
    if (entered) {
        try {
            context->leave();
        } catch (const std::exception& e) {
            g_unnamed_log.log_what(e);
        }
    }
}

void set_context(const std::wstring& share, const context_ptr& context) {
    const lock_t held(table().lock);
    if (context) {
        table().contexts[share] = context;
    } else {
        table().contexts.erase(share);
    }
}

context_ptr find_context(const std::wstring& path) {
    if (path.compare(0, 2, L"\\\\") != 0) {
        return context_ptr();
    }
    const std::wstring share = share_of(path);
    if (share.empty()) {
        return context_ptr();
    }
    context_ptr context;
    {
        const lock_t held(table().lock);
        const auto known = table().contexts.find(share);
        if (known != table().contexts.end()) {
            context = known->second;
        }
    }
    if (context) {
        g_unnamed_log.line("Found impersonation context for share %1", util::to_ansi_safe(share));
    } else {
        g_unnamed_log.line("This path %1 have not impersonation context", util::to_ansi_safe(path));
    }
    return context;
}

boost::shared_ptr<win_impersonation_session_t> make_file_scope(const std::wstring& path) {
    check_access(path);
    const context_ptr context = find_context(path);
    if (context) {
        g_unnamed_log.line(
            "File operations for path '%1' will be performed under impersonation context.",
            util::to_ansi_safe(path));
    }
    return boost::make_shared<win_impersonation_session_t>(context);
}

}  // namespace win
