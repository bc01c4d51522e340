// What the host says of the databases before it explores or prepares them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

namespace specific::oracle {

/// The parsed input document (docs/formats/explore-config.md). Lives on one thread's stack for one
/// call and is read-only once built.
class CExploreDbConfig {
  public:
    /// How far the previous log backup of one database went; numbers kept as text.
    struct SDbLogRecInfo {
        std::wstring recId;           ///< V$ARCHIVED_LOG.RECID of its last log
        std::wstring stamp;           ///< V$ARCHIVED_LOG.STAMP of that log
        std::wstring firstPassRecId;  ///< record id at which its first pass began
    };

    /// A database to leave out. An empty home (the home's name, not its path) means every home.
    struct SExclusion {
        std::wstring sid;
        std::wstring home;
    };

    /// Never throws for bad content: what was read before the fault counts, the rest is logged
    /// and left aside.
    explicit CExploreDbConfig(const std::wstring& configXml);

    /// The entry of exactly this SID, or an empty pointer.
    boost::shared_ptr<SDbLogRecInfo> find_log_rec_info(const std::wstring& sid) const;

    void get_excludes(std::vector<SExclusion>& exclusions) const { exclusions = excludes; }

  private:
    void parse(const std::wstring& configXml);

    std::map<std::wstring, boost::shared_ptr<SDbLogRecInfo>> dbRecIds;
    std::vector<SExclusion> excludes;
};

}  // namespace specific::oracle
