// One connected session of the Oracle client.
#pragma once

#include <string>
#include <utility>

#include <boost/shared_ptr.hpp>

#include "config/credentials.h"
#include "oracle/connect/cmd_exec.h"
#include "oracle/connect/env.h"
#include "oracle/connect/query.h"

namespace specific::oracle {

/// Connects to the local instance that ORACLE_HOME and ORACLE_SID name. Used by one thread at a
/// time, not always by the one that made it. Operations throw, COracleExc where Oracle refused.
class COracleSession {
  public:
    /// `session_abandoned` tells, from any thread, that the session was given up on.
    explicit COracleSession(const SOracleCredentials& credentials,
                            abandoned_t session_abandoned = make_abandoned())
        : abandoned(std::move(session_abandoned)), login(credentials) {}
    /// Ends the session; an abandoned one makes no OCI call and leaves its handles behind.
    ~COracleSession();
    COracleSession(const COracleSession&) = delete;
    COracleSession& operator=(const COracleSession&) = delete;

    /// Connects with OCISessionBegin's `mode`. An instance that is down (ORA-01034) is no failure:
    /// the session has begun, and not_started() tells.
    void init(ub4 mode);

    boost::shared_ptr<COracleQuery> query() const;
    boost::shared_ptr<COracleCmdExec> cmd_exec(const std::string& text) const;

    /// V$DATABASE: OPEN_MODE begins with READ ONLY; LOG_MODE begins with ARCHIVELOG.
    void get_options(bool& read_only, bool& archive_log) const;
    /// Whether the last get_options had both values: V$DATABASE may for a moment have no row.
    bool had_options() const { return options_told; }
    /// V$DATABASE.NAME, asked for once.
    std::wstring get_name();

    /// Starts the instance, to NOMOUNT; needs a session made with OCI_PRELIM_AUTH. Here and in
    /// shutdown, a client library that cannot do it is a runtime_exc_t before anything is changed.
    void startup();
    void mount_and_open();
    void shutdown();

    /// V$INSTANCE.VERSION, asked for once; both are false where the instance is down.
    bool is_12_or_later();
    bool is_before_11();

    bool has_begun() const { return begun; }
    bool not_started() const { return instance_down; }

    /// The client hangs in a call on this session: from now on nobody calls it again. May be
    /// called by any thread.
    void abandon() { *abandoned = true; }

  private:
    void init_server();
    void init_session();
    void set_session();
    void load_version();
    void end();

    boost::shared_ptr<COracleEnv> env;
    boost::shared_ptr<COracleHandle> service_context;
    boost::shared_ptr<COracleHandle> server;
    boost::shared_ptr<COracleHandle> session_handle;
    bool begun = false;
    bool attached = false;
    abandoned_t abandoned;
    bool session_set = false;
    bool instance_down = false;
    mutable bool options_told = false;
    boost::shared_ptr<bool> m_is_12_or_later;
    boost::shared_ptr<bool> m_is_before_11;
    SOracleCredentials login;
    std::wstring name;
};

}  // namespace specific::oracle
