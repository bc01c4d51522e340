// Deletes archived logs through the database, so that its catalogue stays true.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/session.h"
#include "oracle/logs/arch_log_info.h"

namespace specific::oracle {

/// Works on the logs that are not marked deleted, on disk and in ASM. A log that Oracle refuses to
/// delete is logged, and the others are still tried. Used by one thread.
class COracleLogsDeleter {
  public:
    explicit COracleLogsDeleter(const boost::shared_ptr<COracleSession>& oracle_session)
        : session(oracle_session) {}

    /// Deletes the logs that ended before `cutoffText`, "dd/mm/yyyy hh:mm:ss" in UTC. A log with a
    /// time that cannot be read stays.
    void RemoveLogsByTime(const std::wstring& cutoffText) const;

    /// Keeps the newest logs until their total has passed `sizeLimit` bytes, the log that passes
    /// it too, and deletes the others.
    void RemoveLogsBySize(std::int64_t sizeLimit) const;

  private:
    /// Newest first, by sequence number alone.
    arch_logs_t GetActiveLogs() const;
    void RemoveLogFile(const SArchLogInfo& log) const;

    boost::shared_ptr<COracleSession> session;
};

}  // namespace specific::oracle
