// The properties of one open database.
#pragma once

#include <string>

#include "config/explore_config.h"
#include "oracle/discovery/sid_collector.h"

namespace specific::oracle {

/// Fills a CDatabaseProps from an instance that has passed the status probes. A step whose answer
/// is needed throws and costs the database's entry; the others are logged and left empty.
class CDbInfoCollector : public COraSidCollector {
  public:
    /// `collect_pfile`: also fetch the text of the parameter file. `log_rec_info` may be null.
    CDbInfoCollector(boost::shared_ptr<COracleSessionHolder> session_holder, const SOracleSid& sid,
                     bool collect_pfile,
                     boost::shared_ptr<CExploreDbConfig::SDbLogRecInfo> log_rec_info)
        : COraSidCollector(std::move(session_holder), sid),
          collectPfile(collect_pfile),
          logRecInfo(std::move(log_rec_info)) {}

    boost::shared_ptr<COracleProps> Collect() override;

  private:
    void GatherFiles(CDatabaseProps& props) const;
    props_list_t GatherFileList(const char* sql) const;
    void GatherLogGroups(CDatabaseProps& props) const;
    void GatherPdbs(CDatabaseProps& props) const;
    std::wstring GetGlobalName() const;
    bool HasGuaranteedRestorePoints() const;
    bool IsCluster() const;
    void GatherListeners(CDatabaseProps& props) const;

    /// The parameter file as Oracle writes it, through a temporary file.
    void CollectPfile(CDatabaseProps& props) const;
    /// The password file, in ASM or on disk; empty if there is none. Never throws.
    std::wstring FindPasswordFile(const boost::shared_ptr<COracleSession>& session) const;
    /// Asks the cluster's tool srvctl. Never throws.
    bool FindPasswordFileInAsm(std::wstring& path) const;

    boost::shared_ptr<COracleSession> session() const { return holder->get_session(); }

    bool collectPfile;
    boost::shared_ptr<CExploreDbConfig::SDbLogRecInfo> logRecInfo;
};

/// A path that does not exist yet, under the common application data folder, or the system's
/// temporary one where that cannot be had.
std::wstring MakeTempFilePath();

}  // namespace specific::oracle
