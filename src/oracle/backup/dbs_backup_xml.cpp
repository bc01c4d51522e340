#include "oracle/backup/dbs_backup_xml.h"

#include <boost/make_shared.hpp>

#include "config/protected_credentials.h"
#include "support/exc/exc.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/text/number.h"
#include "support/xml/xml.h"

namespace specific::oracle {

using logging::g_oralib_log;
using util::xml_get_wide_attribute;
using util::xml_node_t;
using util::xml_set_attribute;
using util::xml_set_bool_attribute;

namespace {

using info_t = CDbsBackupXml::SDbPrepareInfo;

void add_pdbs(const xml_node_t& element, const std::vector<CDbsBackupXml::SPluggedDb>& pdbs) {
    const xml_node_t list = util::xml_add_element(element, "pdbs");
    for (const auto& pdb : pdbs) {
        const xml_node_t child = util::xml_add_element(list, "database");
        xml_set_attribute(child, "name", pdb.name);
        xml_set_attribute(child, "mode", pdb.mode);
    }
}

void add_logs(const xml_node_t& element, const arch_logs_t& logs) {
    const xml_node_t list = util::xml_add_element(element, "archived_logs");
    for (const auto& log : logs) {
        const xml_node_t child = util::xml_add_element(list, "archived_log");
        xml_set_attribute(child, "path", log->name);
        xml_set_attribute(child, "size", log->size);
        xml_set_attribute(child, "scnFrom", log->firstChange);
        xml_set_attribute(child, "scnTo", log->nextChange);
        xml_set_attribute(child, "utcTimeFrom", log->firstTimeUtc);
        xml_set_attribute(child, "utcTimeTo", log->nextTimeUtc);
        xml_set_attribute(child, "seqNum", log->seqNum);
        xml_set_attribute(child, "resetlogsChange", log->resetlogsChange);
    }
}

void add_database(const xml_node_t& root, const info_t& info) {
    const xml_node_t element = util::xml_add_element(root, "database");
    xml_set_attribute(element, "sid", info.sid);
    xml_set_attribute(element, "home", info.home);
    xml_set_attribute(element, "timeUtc", info.timeUtc);
    xml_set_attribute(element, "scn", info.scn);
    xml_set_attribute(element, "errMsg", info.errMsg);
    util::xml_set_int_attribute(element, "action", info.action);
    xml_set_bool_attribute(element, "BackupWithBackupState", info.action != action_failure);
    xml_set_bool_attribute(element, "autostart", info.autostart);
    xml_set_bool_attribute(element, "reverted", info.reverted);
    xml_set_attribute(element, "lastLogNum", info.lastLogNum);
    xml_set_attribute(element, "maxLogRecId", info.maxLogRecId);
    xml_set_attribute(element, "maxLogStamp", info.maxLogStamp);
    add_pdbs(element, info.pdbs);
    add_logs(element, info.logs);
}

bool read_bool(const xml_node_t& element, const char* name) {
    bool value = false;
    if (!util::xml_try_get_bool_attribute(element, name, value)) {
        throw exc::runtime_exc_t("Value of the XML attribute '%1' is not defined.", name);
    }
    return value;
}

std::int32_t read_action(const xml_node_t& element) {
    std::int32_t action = 0;
    if (!util::parse_int32(util::xml_get_attribute(element, "action"), action)) {
        throw exc::runtime_exc_t("Unexpected type of the attribute. Attribute: [%1].", "action");
    }
    return action;
}

void read_pdbs(const xml_node_t& element, std::vector<CDbsBackupXml::SPluggedDb>& pdbs) {
    for (const xml_node_t& child : util::xml_child_elements(util::xml_child(element, "pdbs"))) {
        pdbs.push_back(
            {xml_get_wide_attribute(child, "name"), xml_get_wide_attribute(child, "mode")});
    }
}

void read_logs(const xml_node_t& element, arch_logs_t& logs) {
    const xml_node_t list = util::xml_child(element, "archived_logs");
    for (const xml_node_t& child : util::xml_child_elements(list)) {
        const auto log = boost::make_shared<SArchLogInfo>();
        log->name = xml_get_wide_attribute(child, "path");
        log->size = xml_get_wide_attribute(child, "size");
        log->firstChange = xml_get_wide_attribute(child, "scnFrom");
        log->nextChange = xml_get_wide_attribute(child, "scnTo");
        log->firstTimeUtc = xml_get_wide_attribute(child, "utcTimeFrom");
        log->nextTimeUtc = xml_get_wide_attribute(child, "utcTimeTo");
        log->seqNum = xml_get_wide_attribute(child, "seqNum");
        log->resetlogsChange = xml_get_wide_attribute(child, "resetlogsChange");
        logs.push_back(log);
    }
}

boost::shared_ptr<const info_t> read_database(const xml_node_t& element) {
    const auto info = boost::make_shared<info_t>();
    info->sid = xml_get_wide_attribute(element, "sid");
    info->home = xml_get_wide_attribute(element, "home");
    info->timeUtc = xml_get_wide_attribute(element, "timeUtc");
    info->scn = xml_get_wide_attribute(element, "scn");
    info->action = read_action(element);
    info->autostart = read_bool(element, "autostart");
    info->reverted = read_bool(element, "reverted");
    info->lastLogNum = xml_get_wide_attribute(element, "lastLogNum");
    info->maxLogRecId = xml_get_wide_attribute(element, "maxLogRecId");
    info->maxLogStamp = xml_get_wide_attribute(element, "maxLogStamp");
    read_pdbs(element, info->pdbs);
    read_logs(element, info->logs);
    return info;
}

}  // namespace

const char* to_word(std::int32_t action) {
    switch (action) {
        case action_failure:
            return "failure";
        case action_inactive:
            return "inactive";
        case action_backup:
            return "backup";
        case action_shutdown:
            return "shutdown";
        case action_vss:
            return "vss";
        case action_oracle_skip_vss:
            return "oracleSkipVss";
        case action_oracle_no_action:
            return "oracleNoAction";
        default:
            return "unknown";
    }
}

std::wstring CDbsBackupXml::serialize(const infos_t& infos) {
    const xml_node_t document = util::xml_new_document();
    const xml_node_t root = util::xml_add_element(document, "databases");
    for (const auto& info : infos) {
        add_database(root, *info);
    }
    return util::from_ansi(util::xml_serialize(document));
}

CDbsBackupXml::infos_t CDbsBackupXml::parse(const std::wstring& document) {
    const std::string text = util::to_ansi(document);
    g_oralib_log.line("XML: %1", hide_protected(text));
    const xml_node_t root = util::xml_child(util::xml_parse(text), "databases");
    infos_t infos;
    for (const xml_node_t& element : util::xml_child_elements(root)) {
        infos.push_back(read_database(element));
    }
    return infos;
}

}  // namespace specific::oracle
