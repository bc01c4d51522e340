#include "config/explore_config.h"

#include <exception>

#include <boost/make_shared.hpp>

#include "support/exc/exc.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/xml/xml.h"

namespace specific::oracle {

using logging::g_oralib_log;
using util::xml_node_t;

CExploreDbConfig::CExploreDbConfig(const std::wstring& configXml) {
    if (configXml.empty()) {
        g_oralib_log.line("Explore db config is empty");
        return;
    }
    try {
        parse(configXml);
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to parse explore db config", e);
    }
}

void CExploreDbConfig::parse(const std::wstring& configXml) {
    const xml_node_t document = util::xml_parse(util::to_ansi(configXml));
    const xml_node_t root = util::xml_first_child(document);
    if (!root.node) {
        throw exc::exc_base_t("The document holds no element.");
    }

    const xml_node_t positions = util::xml_find_child(root, "dbrecids");
    for (const xml_node_t& element : util::xml_child_elements(positions)) {
        const std::wstring sid = util::xml_get_wide_attribute(element, "sid");
        auto info = boost::make_shared<SDbLogRecInfo>();
        info->recId = util::xml_get_wide_attribute(element, "recId");
        info->stamp = util::xml_get_wide_attribute(element, "stamp");
        info->firstPassRecId = util::xml_get_wide_attribute(element, "firstPassRecId");
        g_oralib_log.line(
            "Explore db config sid found: %1, recId: %2, stamp: %3, firstPassRecId: %4",
            util::to_ansi(sid), util::to_ansi(info->recId), util::to_ansi(info->stamp),
            util::to_ansi(info->firstPassRecId));
        dbRecIds.emplace(sid, info);
    }

    const xml_node_t exclusions = util::xml_find_child(root, "excludes");
    for (const xml_node_t& element : util::xml_child_elements(exclusions)) {
        const SExclusion exclusion{util::xml_get_wide_attribute(element, "name"),
                                   util::xml_get_wide_attribute(element, "home")};
        g_oralib_log.line("Excluded database: sid %1, home: %2", util::to_ansi(exclusion.sid),
                          util::to_ansi(exclusion.home));
        excludes.push_back(exclusion);
    }
}

boost::shared_ptr<CExploreDbConfig::SDbLogRecInfo> CExploreDbConfig::find_log_rec_info(
    const std::wstring& sid) const {
    const auto found = dbRecIds.find(sid);
    return found == dbRecIds.end() ? boost::shared_ptr<SDbLogRecInfo>() : found->second;
}

}  // namespace specific::oracle
