// Small questions to one database that several subjects ask.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/session.h"

namespace specific::oracle {

using session_ptr_t = boost::shared_ptr<COracleSession>;

/// V$DATABASE.DBID as text.
std::wstring GetDbId(const session_ptr_t& session);

/// The SCN and UTC time that a backup is consistent from: the lowest checkpoint of the online data
/// files in backup mode. Both are left alone where no file is.
void GetCheckpointInfo(const session_ptr_t& session, std::wstring& scn, std::wstring& time);

/// RECID and STAMP of the first archived log that such a backup needs; both are left alone where
/// there is none.
void GetFirstNeededLogRecord(const session_ptr_t& session, std::wstring& recId,
                             std::wstring& stamp);

/// The highest SEQUENCE# among the archived logs that are not deleted.
std::wstring GetLastLogSequence(const session_ptr_t& session);

/// Whether the database holds pluggable ones. Never throws: a failure is logged and counts as no.
bool IsContainerDb(const session_ptr_t& session);

}  // namespace specific::oracle
