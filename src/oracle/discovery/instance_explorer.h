// The walk over all instances of the machine, behind OracleExploreInstances.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "config/credentials.h"
#include "config/explore_config.h"
#include "oracle/discovery/props.h"
#include "oracle/sid.h"

namespace specific::oracle {

/// The outcome of visiting one instance, a good one included.
struct CSidCollectionError {
    bool isError = false;
    bool isOpen = false;     ///< what the probe said, false where it was not reached
    bool isSkipped = false;  ///< left out on purpose
    std::string message;     ///< why, where isError
};

/// Visits the instances one after the other and makes the explore document. Lives for one call.
class CInstanceExplorer {
  public:
    CInstanceExplorer(bool collect_pfile, const SOracleCredentials& login,
                      const CExploreDbConfig& config)
        : collectPfile(collect_pfile), credentials(login), exploreConfig(config) {}

    /// `result` becomes the explore document. An instance that fails has an entry with its reason;
    /// what throws is a failure of the walk itself.
    void Explore(std::wstring& result) const;

  private:
    using outcome_t = boost::shared_ptr<CSidCollectionError>;
    using instances_t = std::vector<SOracleSid>;

    boost::shared_ptr<COverallProps> ExploreHomes(
        const std::map<std::wstring, instances_t>& homes) const;
    bool VisitHome(CHomeProps& home, const instances_t& instances) const;
    outcome_t VisitInstance(CHomeProps& home, const SOracleSid& sidRecord) const;

    bool collectPfile;
    SOracleCredentials credentials;
    CExploreDbConfig exploreConfig;
};

}  // namespace specific::oracle
