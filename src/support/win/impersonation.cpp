#include "support/win/impersonation.h"

#include <exception>
#include <map>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"

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

}  // namespace

win_impersonation_session_t::win_impersonation_session_t(const context_ptr& used) : context(used) {
    if (context) {
        try {
            context->enter();
        } catch (const std::exception& e) {
            exc::rethrow_with_trace("Failed to impersonate user.", e);
        }
    }
}

win_impersonation_session_t::~win_impersonation_session_t() {
    if (context) {
        try {
            context->leave();
        } catch (const std::exception& e) {
            g_unnamed_log.log_what(e);
        }
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
