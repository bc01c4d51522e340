// The disks of an ASM instance.
#pragma once

#include "oracle/discovery/sid_collector.h"

namespace specific::oracle {

/// Reads V$ASM_DISK and V$ASM_DISKGROUP into a CAsmInstanceProps; disks outside a group are left
/// out.
class CAsmInfoCollector : public COraSidCollector {
  public:
    CAsmInfoCollector(boost::shared_ptr<COracleSessionHolder> session_holder, const SOracleSid& sid)
        : COraSidCollector(std::move(session_holder), sid) {}

    boost::shared_ptr<COracleProps> Collect() override;
};

}  // namespace specific::oracle
