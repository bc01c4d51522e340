// Collects the properties of one instance.
#pragma once

#include <boost/shared_ptr.hpp>

#include "oracle/connect/session_holder.h"
#include "oracle/discovery/props.h"
#include "oracle/sid.h"

namespace specific::oracle {

/// Used once and by one thread.
class COraSidCollector {
  public:
    virtual ~COraSidCollector() = default;

    virtual boost::shared_ptr<COracleProps> Collect() = 0;

  protected:
    /// `sid` is the caller's and outlives the collector.
    COraSidCollector(boost::shared_ptr<COracleSessionHolder> session_holder, const SOracleSid& sid)
        : holder(std::move(session_holder)), sidRecord(&sid) {}

    boost::shared_ptr<COracleSessionHolder> holder;
    const SOracleSid* sidRecord;
};

}  // namespace specific::oracle
