#include "platform/posix/tokens.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "platform/posix/handles.h"
#include "platform/posix/sandbox.h"
#include "platform/posix/thread_object.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

class token_object : public object {
  public:
    explicit token_object(std::string name) : object("tokens"), account(std::move(name)) {}
    const std::string account;  // as accounts.ini names it
};

parsed_file<ini_t> g_accounts("accounts.ini", parse_ini);

using token_ref = std::shared_ptr<token_object>;

std::mutex g_mutex;
// Plain data, as a destructor at the thread's end could be called in a module that is gone. A
// host's thread that ends under a token leaves it behind.
thread_local token_ref* t_token = nullptr;

// The client library looks here for the identity that a thread works under.
void show_account(pid_t tid, const token_ref& token) {
    const std::string directory = sandbox_directory();
    if (directory.empty()) return;
    const std::string file =
        directory + "/run/" + std::to_string(getpid()) + "-" + std::to_string(tid) + ".account";
    if (!token) {
        unlink(file.c_str());
        return;
    }
    mkdir((directory + "/run").c_str(), 0777);
    std::ofstream(file) << token->account;
}

// The token of the thread that the handle means, in the thread's record or its own data.
class thread_token {
  public:
    explicit thread_token(HANDLE handle) {
        thread_object* const self = current_thread();
        if (handle != GetCurrentThread()) {
            record = find<thread_object>(handle);
        } else if (self) {
            record = self->shared_from_this();
        } else {
            own = &t_token;
        }
        tid = record ? record->id() : gettid();
    }
    explicit operator bool() const { return record || own; }
    token_ref get() const {
        const std::lock_guard<std::mutex> lock(g_mutex);
        if (record) return std::static_pointer_cast<token_object>(record->token);
        return *own ? **own : nullptr;
    }
    void set(const token_ref& token) const {
        const std::lock_guard<std::mutex> lock(g_mutex);
        if (record) {
            record->token = token;
        } else {
            // Nothing runs at the thread's end, so nothing is kept beyond the token's time.
            delete *own;
            *own = token ? new token_ref(token) : nullptr;
        }
        show_account(tid, token);
    }

  private:
    std::shared_ptr<thread_object> record;
    token_ref** own = nullptr;
    pid_t tid = 0;
};

// The section of the account of that name, by the rules for `domain`; empty if there is none.
std::string find_account(const ini_t& accounts, const std::wstring& user, LPCWSTR domain) {
    const std::wstring machine = from_utf8(host_text("computer_name", "ORASRV"));
    const std::wstring place = domain ? domain : L".";
    const bool local = place == L"." || place.empty() || same_name(place, machine);
    const std::wstring full = (local ? machine : place) + L"\\" + user;
    for (const auto& [section, keys] : accounts) {
        const std::wstring name = from_utf8(section);
        const auto upn = keys.find("upn");
        const bool named = same_name(name, full) || (local && same_name(name, user));
        const bool by_upn = !domain && upn != keys.end() && same_name(from_utf8(upn->second), user);
        if (section != "process" && (named || by_upn)) return section;
    }
    return "";
}

}  // namespace

void forget_token(thread_object& thread) {
    const std::lock_guard<std::mutex> lock(g_mutex);
    thread.token.reset();
    show_account(thread.tid, nullptr);
}

}  // namespace platform

using namespace platform;

BOOL LogonUserW(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logon_type, DWORD,
                PHANDLE token) {
    if (failing(__func__)) return FALSE;
    if (!user || !token || logon_type != LOGON32_LOGON_INTERACTIVE) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const auto accounts = g_accounts.get();
    const std::string section = find_account(*accounts, user, domain);
    if (section.empty()) return fail(ERROR_LOGON_FAILURE);
    const auto& keys = accounts->at(section);
    const auto secret = keys.find("password");
    if (from_utf8(secret == keys.end() ? "" : secret->second) != (password ? password : L"")) {
        return fail(ERROR_LOGON_FAILURE);
    }
    *token = add_handle(std::make_shared<token_object>(section));
    return TRUE;
}

BOOL ImpersonateLoggedOnUser(HANDLE token) {
    if (failing(__func__)) return FALSE;
    const auto target = find<token_object>(token);
    if (!target) return FALSE;
    thread_token(GetCurrentThread()).set(target);
    return TRUE;
}

BOOL UnloadUserProfile(HANDLE, HANDLE) {
    return TRUE;
}

BOOL RevertToSelf() {
    if (failing(__func__)) return FALSE;
    thread_token(GetCurrentThread()).set(nullptr);
    return TRUE;
}

BOOL OpenThreadToken(HANDLE thread, DWORD, BOOL, PHANDLE token) {
    if (failing(__func__)) return FALSE;
    const thread_token place(thread);
    if (!place) return FALSE;
    const auto target = place.get();
    if (!target) return fail(ERROR_NO_TOKEN);
    *token = add_handle(target);
    return TRUE;
}

BOOL SetThreadToken(PHANDLE thread, HANDLE token) {
    if (failing(__func__)) return FALSE;
    const thread_token place(thread ? *thread : GetCurrentThread());
    const auto target = token ? find<token_object>(token) : nullptr;
    if (!place || (token && !target)) return FALSE;
    place.set(target);
    return TRUE;
}
