// Which Oracle instances does this machine have?
#pragma once

#include <vector>

#include "config/explore_config.h"
#include "oracle/sid.h"

namespace specific::oracle {

/// Finds the instances in the registry alone: Oracle's homes (SOFTWARE\ORACLE), its services
/// (SYSTEM\CURRENTCONTROLSET\SERVICES), and the match of the two by the service's executable. Each
/// instance's home is asked for its read-only state by its program orabasehome.exe. Nothing is
/// cached, no instance is connected to.
class COracleHomes {
  public:
    /// Fills `instances` home by home, without those that an exclusion names. A machine without
    /// Oracle is no failure. Throws when the registry cannot be walked; `instances` is then empty.
    COracleHomes(std::vector<SOracleSid>& instances,
                 const std::vector<CExploreDbConfig::SExclusion>& exclusions);
};

}  // namespace specific::oracle
