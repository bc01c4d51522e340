// One archived log, as its catalogue, the staging folder and the documents know it.
#pragma once

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

namespace specific::oracle {

/// Columns of V$ARCHIVED_LOG as the text that Oracle gave, and what staging adds. Which fields are
/// filled depends on the query that made the record. Times are UTC, 'yyyy/mm/dd hh24:mi:ss'.
struct SArchLogInfo {
    std::wstring name;          ///< NAME; begins with "+" in ASM, empty for a deleted log
    std::wstring logPath;       ///< the file that the host is to take
    std::wstring xmlLogPath;    ///< its description in the staging folder
    std::wstring size;          ///< bytes: BLOCKS*BLOCK_SIZE, or the file's
    std::wstring firstChange;   ///< FIRST_CHANGE#, the first SCN
    std::wstring firstTimeUtc;  ///< FIRST_TIME
    std::wstring nextChange;    ///< NEXT_CHANGE#, the first SCN of the next log
    std::wstring nextTimeUtc;   ///< NEXT_TIME
    std::wstring sid;
    std::wstring homePath;
    std::wstring seqNum;           ///< SEQUENCE#
    std::wstring recId;            ///< RECID
    std::wstring stamp;            ///< STAMP
    std::wstring thread;           ///< THREAD#
    std::wstring resetlogsChange;  ///< RESETLOGS_CHANGE#, of the incarnation
    std::wstring blockSize;        ///< BLOCK_SIZE, bytes
    std::wstring dbId;             ///< V$DATABASE.DBID
    std::wstring creationUsn;      ///< the host's own text
    bool isLogCopied = false;      ///< logPath is a copy that belongs to the library
};

using arch_logs_t = std::vector<boost::shared_ptr<SArchLogInfo>>;

}  // namespace specific::oracle
