#include "oracle/connect/session.h"

#include <cerrno>
#include <cstdlib>
#include <exception>

#include <boost/make_shared.hpp>

#include "support/exc/exc.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

constexpr std::uint32_t ora_not_available = 1034;

bool begins_with(const std::wstring& text, const wchar_t* prefix) {
    return text.rfind(prefix, 0) == 0;
}

long parse_long(const std::string& text) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (*end != '\0') {
        throw exc::runtime_exc_t(
            "Cannot convert string value to signed integer. Given string: [%1].", text);
    }
    return value;
}

}  // namespace

void COracleSession::init(ub4 mode) {
    try {
        log_scope_t scope(g_oralib_log, "Initializing oracle session");
        env = COracleEnv::create(abandoned);
        service_context = env->alloc_handle(OCI_HTYPE_SVCCTX);
        server = env->alloc_handle(OCI_HTYPE_SERVER);
        init_server();
        init_session();

        const sword status = get_interface()->session_begin(
            *env, *service_context, *session_handle,
            login.user.empty() ? OCI_CRED_EXT : OCI_CRED_RDBMS, mode);
        if (status == OCI_SUCCESS) {
            set_session();
        }
        instance_down = env->check(status, ora_not_available) == ora_not_available;
        begun = true;
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to create oracle session.", e);
    }
}

void COracleSession::init_server() {
    try {
        get_interface()->server_attach(*env, *server);
        attached = true;
        get_interface()->attr_set(*env, *service_context, *server, OCI_ATTR_SERVER);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("OracleSession: failed to init server.", e);
    }
}

void COracleSession::init_session() {
    try {
        session_handle = env->alloc_handle(OCI_HTYPE_SESSION);
        if (!login.user.empty()) {
            get_interface()->attr_set(*env, *session_handle, login.user, OCI_ATTR_USERNAME);
            get_interface()->attr_set(*env, *session_handle, login.password, OCI_ATTR_PASSWORD);
            login.password.wipe();
        }
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("OracleSession: failed to init session.", e);
    }
}

// A logon with a warning, as of a password about to expire, has left it open.
void COracleSession::set_session() {
    if (!session_set) {
        get_interface()->attr_set(*env, *service_context, *session_handle, OCI_ATTR_SESSION);
        session_set = true;
    }
}

COracleSession::~COracleSession() {
    if (*abandoned) {
        return;  // all that belongs to it knows, and makes no call either
    }
    try {
        end();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to destroy Oracle session.", e);
    }
}

void COracleSession::end() {
    log_scope_t scope(g_oralib_log, "Destroying oracle session");
    if (begun) {
        const sword status = get_interface()->session_end(*env, *service_context, *session_handle);
        if (status != OCI_SUCCESS) {
            g_oralib_log.warning("Failed to end OCI session, error: %1",
                                 util::to_string(static_cast<std::uint32_t>(status)));
        }
    }
    if (attached) {
        const sword status = get_interface()->server_detach(*env, *server);
        if (status != OCI_SUCCESS) {
            g_oralib_log.warning("Failed to detach OCI server, error: %1",
                                 util::to_string(static_cast<std::uint32_t>(status)));
        }
    }
    session_handle.reset();
    server.reset();
    service_context.reset();
    env.reset();
    scope.ok();
}

boost::shared_ptr<COracleQuery> COracleSession::query() const {
    return boost::make_shared<COracleQuery>(env, service_context, session_handle);
}

boost::shared_ptr<COracleCmdExec> COracleSession::cmd_exec(const std::string& text) const {
    return boost::make_shared<COracleCmdExec>(env, service_context, text);
}

void COracleSession::get_options(bool& read_only, bool& archive_log) const {
    try {
        log_scope_t scope(g_oralib_log, "Getting oracle database options");
        const row_t row = query()->exec_row("SELECT OPEN_MODE, LOG_MODE FROM V$DATABASE", 2, true);
        options_told = row.size() == 2 && !row[0].empty() && !row[1].empty();
        read_only = false;
        archive_log = false;
        for (const std::wstring& column : row) {
            read_only = read_only || begins_with(column, L"READ ONLY");
            archive_log = archive_log || begins_with(column, L"ARCHIVELOG");
        }
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("OracleSession: failed to get database options.", e);
    }
}

std::wstring COracleSession::get_name() {
    try {
        if (name.empty()) {
            log_scope_t scope(g_oralib_log, "Getting oracle database name");
            name = query()->exec_value("SELECT NAME FROM V$DATABASE", false);
            scope.ok();
        }
        return name;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("OracleSession: failed to get database name.", e);
    }
}

void COracleSession::startup() {
    try {
        log_scope_t scope(g_oralib_log, "Starting up database");
        get_interface()->require_instance_control();
        g_oralib_log.line("Startup in NOMOUNT mode");
        set_session();
        get_interface()->db_startup(*env, *service_context);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to startup database", e);
    }
}

void COracleSession::mount_and_open() {
    const auto commands = query();
    commands->exec_command("ALTER DATABASE MOUNT");
    commands->exec_command("ALTER DATABASE OPEN");
}

void COracleSession::shutdown() {
    try {
        log_scope_t scope(g_oralib_log, "Shutting down database");
        const auto oci = get_interface();
        oci->require_instance_control();
        set_session();
        oci->db_shutdown(*env, *service_context, OCI_DBSHUTDOWN_IMMEDIATE);
        const auto commands = query();
        commands->exec_command("ALTER DATABASE CLOSE NORMAL");
        commands->exec_command("ALTER DATABASE DISMOUNT");
        oci->db_shutdown(*env, *service_context, OCI_DBSHUTDOWN_FINAL);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to shutdown database", e);
    }
}

bool COracleSession::is_12_or_later() {
    if (!m_is_12_or_later) {
        load_version();
    }
    return *m_is_12_or_later;
}

bool COracleSession::is_before_11() {
    if (!m_is_before_11) {
        load_version();
    }
    return *m_is_before_11;
}

void COracleSession::load_version() {
    bool later = false;
    bool before = false;
    if (begun && !instance_down) {
        const std::wstring version = query()->exec_value("SELECT VERSION FROM V$INSTANCE", true);
        const std::wstring::size_type point = version.find(L'.');
        if (point != std::wstring::npos) {
            const long major = parse_long(util::to_ansi(version.substr(0, point)));
            later = major >= 12;
            before = major < 11;
        }
    }
    m_is_12_or_later = boost::make_shared<bool>(later);
    m_is_before_11 = boost::make_shared<bool>(before);
}

}  // namespace specific::oracle
