#include "oracle/discovery/db_queries.h"

#include <exception>

#include "support/logging/logger.h"
#include "support/text/convert.h"

namespace specific::oracle {

using logging::g_oralib_log;

std::wstring GetDbId(const session_ptr_t& session) {
    return session->query()->exec_value("SELECT DBID FROM V$DATABASE", true);
}

void GetCheckpointInfo(const session_ptr_t& session, std::wstring& scn, std::wstring& time) {
    const auto query = session->query();
    const row_t row = query->exec_row(
        "select min(checkpoint_change#), min(TO_CHAR(SYS_EXTRACT_UTC(CAST(CHECKPOINT_TIME AS "
        "TIMESTAMP)), 'yyyy/mm/dd hh24:mi:ss'))  from v$datafile_header  where FUZZY = 'YES' AND "
        "STATUS = 'ONLINE'",
        2, true);
    if (row.size() == 2) {
        scn = row[0];
        time = row[1];
    }
    const std::wstring from_datafile = query->exec_value(
        "select min(checkpoint_change#) from v$datafile  where STATUS = 'ONLINE'", true);
    g_oralib_log.line("SCN from datafile %1", util::to_ansi_safe(from_datafile));
}

void GetFirstNeededLogRecord(const session_ptr_t& session, std::wstring& recId,
                             std::wstring& stamp) {
    const row_t row = session->query()->exec_row(
        "SELECT L.recid, L.stamp  FROM V$ARCHIVED_LOG L WHERE((SELECT min(D.checkpoint_change#) "
        "from v$datafile_header D where FUZZY = 'YES' AND STATUS = 'ONLINE') BETWEEN "
        "L.FIRST_CHANGE# and L.NEXT_CHANGE#) and STATUS != 'D' and standby_dest = 'NO' and "
        "rownum = 1  order by recid",
        2, true);
    if (row.size() == 2) {
        recId = row[0];
        stamp = row[1];
    }
}

std::wstring GetLastLogSequence(const session_ptr_t& session) {
    return session->query()->exec_value(
        "SELECT MAX(SEQUENCE#) FROM V$ARCHIVED_LOG WHERE STATUS != 'D'", true);
}

bool IsContainerDb(const session_ptr_t& session) {
    try {
        return session->is_12_or_later() &&
               session->query()->exec_value("SELECT CDB FROM V$DATABASE", true) == L"YES";
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to check if database is pluggable", e);
        return false;
    }
}

}  // namespace specific::oracle
