#include "platform/posix/shares.h"

#include <sys/stat.h>

#include <algorithm>
#include <list>

#include "platform/paths.h"
#include "platform/posix/handles.h"
#include "platform/posix/tokens.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

struct connection_t {
    std::wstring share;
    DWORD uses;
};

std::list<connection_t> g_connections;
std::mutex g_mutex;

std::list<connection_t>::iterator find_connection(LPCWSTR share) {
    return std::find_if(g_connections.begin(), g_connections.end(),
                        [&](const connection_t& c) { return same_name(c.share, share); });
}

}  // namespace

}  // namespace platform

using namespace platform;

NET_API_STATUS NetUseAdd(LPWSTR, DWORD level, LPBYTE info, LPDWORD) {
    if (failing(__func__)) return GetLastError();
    const auto* wanted = reinterpret_cast<const USE_INFO_2*>(info);
    if (level != 2 || !wanted || !wanted->ui2_remote) return ERROR_INVALID_PARAMETER;
    struct stat folder;
    if (stat(native_path(wanted->ui2_remote).c_str(), &folder) != 0) return ERROR_BAD_NET_NAME;
    if (wanted->ui2_username) {
        HANDLE token;
        if (!LogonUserW(wanted->ui2_username, wanted->ui2_domainname, wanted->ui2_password,
                        LOGON32_LOGON_NETWORK, LOGON32_PROVIDER_DEFAULT, &token)) {
            return GetLastError();
        }
        remove_handle(token);
    }
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto known = find_connection(wanted->ui2_remote);
    if (known != g_connections.end()) {
        ++known->uses;
    } else {
        g_connections.push_back({wanted->ui2_remote, 1});
    }
    return NERR_Success;
}

NET_API_STATUS NetUseDel(LPWSTR, LPWSTR share, DWORD) {
    if (failing(__func__)) return GetLastError();
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto known = find_connection(share);
    if (known == g_connections.end()) return NERR_UseNotFound;
    if (--known->uses == 0) g_connections.erase(known);
    return NERR_Success;
}

NET_API_STATUS NetUseGetInfo(LPWSTR, LPWSTR share, DWORD level, LPBYTE* info) {
    if (failing(__func__)) return GetLastError();
    if (level != 1) return ERROR_INVALID_LEVEL;
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto known = find_connection(share);
    if (known == g_connections.end()) return NERR_UseNotFound;
    *info = reinterpret_cast<LPBYTE>(
        new USE_INFO_1{nullptr, nullptr, nullptr, USE_OK, USE_DISKDEV, 0, known->uses});
    return NERR_Success;
}

NET_API_STATUS NetApiBufferFree(LPVOID buffer) {
    delete static_cast<USE_INFO_1*>(buffer);
    return NERR_Success;
}
