// How every connection to an instance comes into being.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "config/credentials.h"
#include "oracle/connect/session.h"
#include "oracle/sid.h"

namespace specific::oracle {

class CClientThread;

/// Connects to one instance on a thread of its own, which is given up on after
/// OracleConnectionTimeout seconds: a local connect can hang for ever inside the client. The
/// thread then stays parked until the holder goes; all later work on the session runs on the
/// caller's own thread. Holders of the whole process connect one after the other, since
/// ORACLE_HOME and ORACLE_SID are the process's.
class COracleSessionHolder {
  public:
    /// Connects as SYSDBA, a named user without that right by default; with `prelim`, to an
    /// instance that is down, in order to start it. Throws COracleInitTimeoutExc when the client
    /// hangs, COracleExc when Oracle refuses, COracleSessionCreateExc when there is no usable
    /// client, win_sys_exc_t when a call of the system fails.
    COracleSessionHolder(const std::wstring& sid, const std::wstring& home,
                         const SOracleCredentials& login, bool prelim);
    ~COracleSessionHolder();
    COracleSessionHolder(const COracleSessionHolder&) = delete;
    COracleSessionHolder& operator=(const COracleSessionHolder&) = delete;

    /// A copy may outlive the holder; its end then ends the session.
    boost::shared_ptr<COracleSession> get_session() const;
    std::wstring get_sid() const;
    std::wstring get_home() const;

    /// What the holder shares with its init thread.
    struct SState;

  private:
    void connect();
    void update_token();
    void give_up();

    boost::shared_ptr<SState> state;
    boost::shared_ptr<CClientThread> init_thread;
};

/// The holder of an instance, or an empty pointer after a failure, which is logged.
boost::shared_ptr<COracleSessionHolder> create_session_holder(const SOracleSid& sid_record,
                                                              const SOracleCredentials& login);

}  // namespace specific::oracle
