// The first SQL on a fresh session: is the instance open, is the database active?
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/session.h"
#include "support/exc/exc.h"

namespace specific::oracle {

enum class EStatusKind : unsigned { instance = 0, database = 1 };

/// A hung instance shows here, so each probe runs on a thread of its own, which is given up on
/// after OracleConnectionTimeout seconds: then COracleStatusQueryTimeoutExc, and the session must
/// not be used again. `error_slot` is the caller's and brings a failure back from that thread.

/// V$INSTANCE.STATUS begins with OPEN. With `started_is_enough`, that the instance was up when the
/// session began, without SQL.
bool is_instance_open(boost::shared_ptr<exc::exc_base_t>& error_slot,
                      const boost::shared_ptr<COracleSession>& session, bool started_is_enough);

/// V$INSTANCE.DATABASE_STATUS begins with ACTIVE.
bool is_db_active(boost::shared_ptr<exc::exc_base_t>& error_slot,
                  const boost::shared_ptr<COracleSession>& session);

/// The probe behind both; `status` comes back in upper case, empty if there was no row.
void get_status(boost::shared_ptr<exc::exc_base_t>& error_slot, std::wstring& status,
                const boost::shared_ptr<COracleSession>& session, EStatusKind kind);

}  // namespace specific::oracle
