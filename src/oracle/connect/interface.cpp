#include "oracle/connect/interface.h"

#include <cstring>
#include <memory>

#include <boost/make_shared.hpp>

#include "oracle/connect/env.h"
#include "platform/platform.h"
#include "platform/system.h"
#include "support/exc/exc.h"
#include "support/synch/thread_gate.h"
#include "support/text/format.h"

namespace specific::oracle {

namespace {

struct SEntryPoints {
    decltype(&::OCIEnvCreate) EnvCreate;
    decltype(&::OCIHandleAlloc) HandleAlloc;
    decltype(&::OCIHandleFree) HandleFree;
    decltype(&::OCIAttrSet) AttrSet;
    decltype(&::OCIServerAttach) ServerAttach;
    decltype(&::OCIServerDetach) ServerDetach;
    decltype(&::OCISessionBegin) SessionBegin;
    decltype(&::OCISessionEnd) SessionEnd;
    decltype(&::OCIStmtPrepare) StmtPrepare;
    decltype(&::OCIDefineByPos) DefineByPos;
    decltype(&::OCIBindByName) BindByName;
    decltype(&::OCIStmtExecute) StmtExecute;
    decltype(&::OCIStmtFetch2) StmtFetch2;
    decltype(&::OCIErrorGet) ErrorGet;
    decltype(&::OCIDBStartup) DBStartup;  // this and the next are null in a client before 10.2
    decltype(&::OCIDBShutdown) DBShutdown;
};

// Whole as soon as it is seen. Each thread binds into a table of its own until one is.
class entry_points_t {
  public:
    ~entry_points_t() { delete published.exchange(nullptr); }
    const SEntryPoints* get() const { return published; }
    const SEntryPoints& publish(std::unique_ptr<SEntryPoints> table) {
        const SEntryPoints* none = nullptr;
        if (published.compare_exchange_strong(none, table.get())) {
            return *table.release();
        }
        return *none;
    }

  private:
    std::atomic<const SEntryPoints*> published{nullptr};
};

entry_points_t g_entry_points;

// One passage into foreign code and out of it.
class passage_t {
  public:
    explicit passage_t(bool is_refused)
        : gate(synch::thread_gate_t::current()), inside(!is_refused && (!gate || gate->enter())) {}
    ~passage_t() { leave(); }
    passage_t(const passage_t&) = delete;
    passage_t& operator=(const passage_t&) = delete;

    bool is_open() const { return inside; }
    /// False when the thread has been given up on meanwhile.
    bool leave() {
        const bool was_inside = inside;
        inside = false;
        return was_inside && (!gate || gate->leave());
    }

  private:
    synch::thread_gate_t* const gate;
    bool inside;
};

[[noreturn]] void refuse() {
    throw exc::runtime_exc_t(std::string("The session has been abandoned."));
}

template <typename Entry>
bool find(HMODULE library, const char* name, Entry& entry) {
    entry = reinterpret_cast<Entry>(GetProcAddress(library, name));
    return entry != nullptr;
}

// 0, or the code of what is missing.
DWORD find_all(SEntryPoints& oci) {
    const HMODULE library = LoadLibraryA(platform::client_library_name);
    if (!library) {
        return delay_load_module_not_found;
    }
    find(library, "OCIDBStartup", oci.DBStartup);
    find(library, "OCIDBShutdown", oci.DBShutdown);
    const bool complete = find(library, "OCIEnvCreate", oci.EnvCreate) &&
                          find(library, "OCIHandleAlloc", oci.HandleAlloc) &&
                          find(library, "OCIHandleFree", oci.HandleFree) &&
                          find(library, "OCIAttrSet", oci.AttrSet) &&
                          find(library, "OCIServerAttach", oci.ServerAttach) &&
                          find(library, "OCIServerDetach", oci.ServerDetach) &&
                          find(library, "OCISessionBegin", oci.SessionBegin) &&
                          find(library, "OCISessionEnd", oci.SessionEnd) &&
                          find(library, "OCIStmtPrepare", oci.StmtPrepare) &&
                          find(library, "OCIDefineByPos", oci.DefineByPos) &&
                          find(library, "OCIBindByName", oci.BindByName) &&
                          find(library, "OCIStmtExecute", oci.StmtExecute) &&
                          find(library, "OCIStmtFetch2", oci.StmtFetch2) &&
                          find(library, "OCIErrorGet", oci.ErrorGet);
    return complete ? ERROR_SUCCESS : delay_load_entry_point_not_found;
}

// Looking for the library is foreign code too: loading one runs what it brings along.
const SEntryPoints& bound() {
    if (const SEntryPoints* const found = g_entry_points.get()) {
        return *found;
    }
    auto table = std::make_unique<SEntryPoints>();
    passage_t passage(false);
    if (!passage.is_open()) {
        refuse();
    }
    const DWORD missing = find_all(*table);
    if (!passage.leave()) {
        refuse();
    }
    if (missing != ERROR_SUCCESS) {
        table.reset();  // no destructor runs behind the next line
        RaiseException(missing, 0, 0, nullptr);
    }
    return g_entry_points.publish(std::move(table));
}

// False where the call, or its answer, is refused.
template <typename Entry, typename... Args>
bool try_call(const abandoned_t& abandoned, sword& status, Entry SEntryPoints::*entry,
              Args... args) {
    if (*abandoned || synch::thread_gate_t::is_current_gone()) {
        return false;
    }
    const SEntryPoints& oci = bound();
    passage_t passage(*abandoned);
    if (!passage.is_open()) {
        return false;
    }
    status = (oci.*entry)(args...);
    return passage.leave();
}

template <typename Entry, typename... Args>
sword call(const abandoned_t& abandoned, Entry SEntryPoints::*entry, Args... args) {
    sword status = OCI_SUCCESS;
    if (!try_call(abandoned, status, entry, args...)) {
        refuse();
    }
    return status;
}

const OraText* ora_text(const std::string& text) {
    return reinterpret_cast<const OraText*>(text.c_str());
}

std::string status_text(sword status) {
    return util::to_string(static_cast<std::uint32_t>(status));
}

}  // namespace

abandoned_t make_abandoned() {
    return boost::make_shared<std::atomic<bool>>(false);
}

OCIEnv* CWinOraInterface::env_create(const abandoned_t& abandoned) const {
    OCIEnv* env = nullptr;
    const sword status = call(abandoned, &SEntryPoints::EnvCreate, &env, OCI_THREADED, nullptr,
                              nullptr, nullptr, nullptr, 0, nullptr);
    if (status != OCI_SUCCESS) {
        if (env) {  // made all the same, to ask it for the reason
            handle_free(env, OCI_HTYPE_ENV, abandoned);
        }
        throw exc::runtime_exc_t("Failed to create OCI env. Code: %1", status_text(status));
    }
    return env;
}

OCIError* CWinOraInterface::error_alloc(OCIEnv* env, const abandoned_t& abandoned) const {
    void* error = nullptr;
    const sword status =
        call(abandoned, &SEntryPoints::HandleAlloc, env, &error, OCI_HTYPE_ERROR, 0, nullptr);
    if (status != OCI_SUCCESS) {
        throw exc::runtime_exc_t("Failed to create OCI error. Code: %1", status_text(status));
    }
    return static_cast<OCIError*>(error);
}

void* CWinOraInterface::handle_alloc(COracleEnv& env, ub4 type) const {
    void* handle = nullptr;
    env.check(
        call(env.abandoned(), &SEntryPoints::HandleAlloc, env.get(), &handle, type, 0, nullptr));
    return handle;
}

void CWinOraInterface::handle_free(void* handle, ub4 type, const abandoned_t& abandoned) const {
    sword ignored = OCI_SUCCESS;
    try_call(abandoned, ignored, &SEntryPoints::HandleFree, handle, type);
}

void CWinOraInterface::attr_set(COracleEnv& env, const COracleHandle& target,
                                const COracleHandle& value, ub4 attribute) const {
    env.check(call(env.abandoned(), &SEntryPoints::AttrSet, target.get(), target.get_type(),
                   value.get(), 0, attribute, env.error_handle()));
}

void CWinOraInterface::attr_set(COracleEnv& env, const COracleHandle& target,
                                const std::string& value, ub4 attribute) const {
    env.check(call(env.abandoned(), &SEntryPoints::AttrSet, target.get(), target.get_type(),
                   const_cast<char*>(value.data()), static_cast<ub4>(value.size()), attribute,
                   env.error_handle()));
}

void CWinOraInterface::attr_set(COracleEnv& env, const COracleHandle& target,
                                const util::secret_t& value, ub4 attribute) const {
    env.check(call(env.abandoned(), &SEntryPoints::AttrSet, target.get(), target.get_type(),
                   const_cast<char*>(value.empty() ? "" : value.data()),
                   static_cast<ub4>(value.size()), attribute, env.error_handle()));
}

void CWinOraInterface::server_attach(COracleEnv& env, const COracleHandle& server) const {
    env.check(call(env.abandoned(), &SEntryPoints::ServerAttach, server.get<OCIServer>(),
                   env.error_handle(), nullptr, 0, OCI_DEFAULT));
}

sword CWinOraInterface::server_detach(const COracleEnv& env, const COracleHandle& server) const {
    sword status = OCI_SUCCESS;
    const bool done = try_call(env.abandoned(), status, &SEntryPoints::ServerDetach,
                               server.get<OCIServer>(), env.error_handle(), OCI_DEFAULT);
    return done ? status : OCI_SUCCESS;
}

sword CWinOraInterface::session_begin(const COracleEnv& env, const COracleHandle& service,
                                      const COracleHandle& session, ub4 credentials,
                                      ub4 mode) const {
    return call(env.abandoned(), &SEntryPoints::SessionBegin, service.get<OCISvcCtx>(),
                env.error_handle(), session.get<OCISession>(), credentials, mode);
}

sword CWinOraInterface::session_end(const COracleEnv& env, const COracleHandle& service,
                                    const COracleHandle& session) const {
    sword status = OCI_SUCCESS;
    const bool done =
        try_call(env.abandoned(), status, &SEntryPoints::SessionEnd, service.get<OCISvcCtx>(),
                 env.error_handle(), session.get<OCISession>(), OCI_DEFAULT);
    return done ? status : OCI_SUCCESS;
}

void CWinOraInterface::stmt_prepare(COracleEnv& env, const COracleHandle& statement,
                                    const std::string& text) const {
    env.check(call(env.abandoned(), &SEntryPoints::StmtPrepare, statement.get<OCIStmt>(),
                   env.error_handle(), ora_text(text), static_cast<ub4>(std::strlen(text.c_str())),
                   OCI_NTV_SYNTAX, OCI_DEFAULT));
}

void* CWinOraInterface::define_by_pos(COracleEnv& env, const COracleHandle& statement, ub4 position,
                                      void* buffer, sb4 buffer_size, sb2* indicator) const {
    OCIDefine* define = nullptr;
    env.check(call(env.abandoned(), &SEntryPoints::DefineByPos, statement.get<OCIStmt>(), &define,
                   env.error_handle(), position, buffer, buffer_size, SQLT_STR, indicator, nullptr,
                   nullptr, OCI_DEFAULT));
    return define;
}

void CWinOraInterface::bind_by_name(COracleEnv& env, const COracleHandle& statement,
                                    const std::string& name, void* value, sb4 value_size,
                                    ub2 data_type) const {
    OCIBind* bind = nullptr;  // goes with its statement
    env.check(call(env.abandoned(), &SEntryPoints::BindByName, statement.get<OCIStmt>(), &bind,
                   env.error_handle(), ora_text(name), -1, value, value_size, data_type, nullptr,
                   nullptr, nullptr, 0, nullptr, OCI_DEFAULT));
}

void CWinOraInterface::stmt_execute(COracleEnv& env, const COracleHandle& service,
                                    const COracleHandle& statement, ub4 iterations) const {
    env.check(call(env.abandoned(), &SEntryPoints::StmtExecute, service.get<OCISvcCtx>(),
                   statement.get<OCIStmt>(), env.error_handle(), iterations, 0, nullptr, nullptr,
                   OCI_DEFAULT));
}

sword CWinOraInterface::stmt_fetch(const COracleEnv& env, const COracleHandle& statement) const {
    return call(env.abandoned(), &SEntryPoints::StmtFetch2, statement.get<OCIStmt>(),
                env.error_handle(), 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT);
}

SOracleError CWinOraInterface::error_get(const COracleEnv& env) const {
    constexpr ub4 buffer_size = 2048;
    OraText buffer[buffer_size] = {};
    sb4 code = 0;
    call(env.abandoned(), &SEntryPoints::ErrorGet, env.error_handle(), 1, nullptr, &code, buffer,
         buffer_size, OCI_HTYPE_ERROR);
    buffer[buffer_size - 1] = 0;
    return {static_cast<std::uint32_t>(code), reinterpret_cast<const char*>(buffer)};
}

void CWinOraInterface::require_instance_control() const {
    const SEntryPoints& oci = bound();
    if (!oci.DBStartup || !oci.DBShutdown) {
        throw exc::runtime_exc_t(std::string(
            "The Oracle client library cannot start or stop an instance: it is older than 10.2."));
    }
}

void CWinOraInterface::db_startup(COracleEnv& env, const COracleHandle& service) const {
    env.check(call(env.abandoned(), &SEntryPoints::DBStartup, service.get<OCISvcCtx>(),
                   env.error_handle(), nullptr, OCI_DEFAULT, 0));
}

void CWinOraInterface::db_shutdown(const COracleEnv& env, const COracleHandle& service,
                                   ub4 mode) const {
    call(env.abandoned(), &SEntryPoints::DBShutdown, service.get<OCISvcCtx>(), env.error_handle(),
         nullptr, mode);
}

boost::shared_ptr<CWinOraInterface> get_interface() {
    static const auto instance = boost::make_shared<CWinOraInterface>();
    return instance;
}

}  // namespace specific::oracle
