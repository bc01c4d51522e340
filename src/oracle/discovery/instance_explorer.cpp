#include "oracle/discovery/instance_explorer.h"

#include <exception>

#include <boost/make_shared.hpp>

#include "config/agent_config.h"
#include "oracle/connect/session_holder.h"
#include "oracle/connect/status.h"
#include "oracle/discovery/asm_info_collector.h"
#include "oracle/discovery/config_file.h"
#include "oracle/discovery/db_info_collector.h"
#include "oracle/discovery/homes.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/xml/xml.h"

namespace specific::oracle {

using logging::g_oralib_log;

namespace {

// Instances and databases whose name begins so are the system's own temporary ones.
constexpr wchar_t own_prefix[] = L"TarnyTmp";

bool is_own(const std::wstring& name) {
    return name.rfind(own_prefix, 0) == 0;
}

// Databases met so far without archive logging, by SID, and whether they were read-only.
std::map<std::wstring, bool>& no_archive_log_table() {
    static std::map<std::wstring, bool> table;
    return table;
}

void record_database_state(const COracleSession& session, const std::wstring& sid) {
    try {
        bool read_only = false;
        bool archive_log = false;
        session.get_options(read_only, archive_log);
        if (!archive_log) {
            no_archive_log_table().emplace(sid, read_only);
        }
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to set database VSS state", e);
    }
}

bool must_skip(COracleSession& session, bool is_asm) {
    const COracleAgentConfig& config = COracleAgentConfig::instance();
    return config.DisableOracleProcessing() ||
           (session.is_before_11() && !config.SupportOracle10()) ||
           (!is_asm && is_own(session.get_name()));
}

// What an instance says of its home.
struct home_facts_t {
    std::wstring version;
    std::wstring desc;
};

home_facts_t ask_of_home(const COracleSession& session) {
    return {
        session.query()->exec_value("SELECT version FROM V$INSTANCE", true),
        session.query()->exec_value("SELECT * FROM V$VERSION WHERE BANNER LIKE 'Oracle%'", true)};
}

void add_error_entry(CHomeProps& home, const SOracleSid& sidRecord, const std::string& message) {
    try {
        const auto props = boost::make_shared<CDatabaseProps>();
        props->isError = true;
        props->errorDescription = util::from_ansi(message);
        props->sid = sidRecord.sid;
        props->config = FindConfigFile(sidRecord);
        if (home.version.empty()) {
            home.path = sidRecord.home;
        }
        home.AddChild(props);
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Failed to fill error database props for SID: %1",
                                          util::to_ansi_safe(sidRecord.sid), e);
    }
}

boost::shared_ptr<CSidCollectionError> collected_outcome(bool is_open) {
    return boost::make_shared<CSidCollectionError>(CSidCollectionError{false, is_open, false, {}});
}

boost::shared_ptr<CSidCollectionError> skipped_outcome() {
    return boost::make_shared<CSidCollectionError>(CSidCollectionError{false, true, true, {}});
}

// With processing disabled nothing can fail.
boost::shared_ptr<CSidCollectionError> failed_outcome(bool is_open, const std::string& message) {
    if (COracleAgentConfig::instance().DisableOracleProcessing()) {
        return skipped_outcome();
    }
    return boost::make_shared<CSidCollectionError>(
        CSidCollectionError{true, is_open, false, message});
}

}  // namespace

void CInstanceExplorer::Explore(std::wstring& result) const {
    std::vector<CExploreDbConfig::SExclusion> exclusions;
    exploreConfig.get_excludes(exclusions);
    instances_t instances;
    COracleHomes(instances, exclusions);

    std::map<std::wstring, instances_t> homes;
    for (const SOracleSid& instance : instances) {
        homes[instance.homeName].push_back(instance);
    }
    const util::xml_node_t document =
        homes.empty() ? MakeEmptyOverallDocument() : ExploreHomes(homes)->ToXml();
    const std::string text = util::xml_serialize(document);
    g_oralib_log.line(text);
    result = util::from_ansi(text);
}

boost::shared_ptr<COverallProps> CInstanceExplorer::ExploreHomes(
    const std::map<std::wstring, instances_t>& homes) const {
    const auto overall = boost::make_shared<COverallProps>();
    for (const auto& [name, instances] : homes) {
        const auto home = boost::make_shared<CHomeProps>();
        home->name = name;
        if (VisitHome(*home, instances)) {
            overall->AddHome(home);
        }
    }
    overall->env = util::CollectEnvProps();
    return overall;
}

// True if the home belongs in the document.
bool CInstanceExplorer::VisitHome(CHomeProps& home, const instances_t& instances) const {
    unsigned collected = 0;
    bool saw_asm = false;
    bool saw_skipped = false;
    try {
        for (const SOracleSid& instance : instances) {
            if (is_own(instance.sid)) {
                continue;
            }
            saw_asm = saw_asm || instance.isAsm;
            const outcome_t outcome = VisitInstance(home, instance);
            if (outcome->isSkipped) {
                saw_skipped = true;
            } else if (!outcome->isError) {
                ++collected;
            } else if (!instance.isAsm) {
                add_error_entry(home, instance, outcome->message);
            }
        }
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Failed to gather props for oracle home", e);
    }
    return collected != 0 || !(saw_asm || saw_skipped);
}

CInstanceExplorer::outcome_t CInstanceExplorer::VisitInstance(CHomeProps& home,
                                                              const SOracleSid& sidRecord) const {
    bool is_open = false;
    try {
        const auto holder = boost::make_shared<COracleSessionHolder>(sidRecord.sid, sidRecord.home,
                                                                     credentials, false);
        const boost::shared_ptr<COracleSession> session = holder->get_session();
        boost::shared_ptr<exc::exc_base_t> error_slot;
        is_open = is_instance_open(error_slot, session, sidRecord.isAsm);
        if (!is_open || !is_db_active(error_slot, session)) {
            static const std::string reason =
                "Oracle database instance state is not valid for property collection";
            const outcome_t outcome = failed_outcome(is_open, reason);
            if (outcome->isError) {
                g_oralib_log.warning(reason);
            }
            return outcome;
        }
        if (must_skip(*session, sidRecord.isAsm)) {
            record_database_state(*session, sidRecord.sid);
            g_oralib_log.line("Database (SID: %1) skipped from data collection",
                              util::to_ansi_safe(sidRecord.sid));
            return skipped_outcome();
        }
        const bool is_first = home.version.empty();
        const home_facts_t facts = is_first ? ask_of_home(*session) : home_facts_t();
        boost::shared_ptr<COraSidCollector> collector;
        if (sidRecord.isAsm) {
            collector = boost::make_shared<CAsmInfoCollector>(holder, sidRecord);
        } else {
            collector = boost::make_shared<CDbInfoCollector>(
                holder, sidRecord, collectPfile, exploreConfig.find_log_rec_info(sidRecord.sid));
        }
        home.AddChild(collector->Collect());
        // Only one that was collected speaks for its home.
        if (is_first) {
            home.version = facts.version;
            home.path = sidRecord.home;
            home.desc = facts.desc;
        }
        return collected_outcome(is_open);
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Failed to gather database props for SID: %1",
                                          util::to_ansi_safe(sidRecord.sid), e);
        return failed_outcome(is_open, e.what() ? e.what() : "");
    }
}

}  // namespace specific::oracle
