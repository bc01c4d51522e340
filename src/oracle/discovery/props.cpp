#include "oracle/discovery/props.h"

#include "oracle/connect/dates.h"
#include "platform/platform.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

using util::to_ansi;
using util::xml_node_t;

namespace {

xml_node_t new_document_with(const char* name) {
    const xml_node_t document = util::xml_new_document();
    return util::xml_add_element(document, name);
}

void XmlAppendChild(const xml_node_t& parent, const COracleProps& child) {
    util::xml_graft(parent, child.ToXml());
}

void XmlAppendFileList(const xml_node_t& parent, const char* name, const props_list_t& files) {
    const xml_node_t list = util::xml_add_element(parent, name);
    for (const auto& file : files) {
        XmlAppendChild(list, *file);
    }
}

// Quarter hours east of UTC, by the zone's present state.
int time_zone_quarters() {
    TIME_ZONE_INFORMATION zone{};
    LONG bias = 0;
    switch (GetTimeZoneInformation(&zone)) {
        case TIME_ZONE_ID_UNKNOWN:
            bias = zone.Bias;
            break;
        case TIME_ZONE_ID_STANDARD:
            bias = zone.Bias + zone.StandardBias;
            break;
        case TIME_ZONE_ID_DAYLIGHT:
            bias = zone.Bias + zone.DaylightBias;
            break;
        default:
            break;
    }
    return static_cast<int>(-bias / 15);
}

// The groups come from another query than the files, so they are joined on the finished elements.
void mark_log_groups(const xml_node_t& log_files,
                     const std::map<std::wstring, std::string>& groups) {
    for (const xml_node_t& file : util::xml_child_elements(log_files)) {
        std::string path;
        if (!util::xml_try_get_attribute(file, "path", path)) {
            continue;
        }
        const auto group = groups.find(util::from_ansi(path));
        if (group != groups.end()) {
            util::xml_set_attribute(file, "groupNumber", group->second);
        }
    }
}

}  // namespace

xml_node_t MakeEmptyOverallDocument() {
    const xml_node_t document = util::xml_new_document();
    util::xml_add_element(document, "OracleOverall");
    return document;
}

xml_node_t COverallProps::ToXml() const {
    const xml_node_t root = new_document_with("OracleOverall");
    if (env) {
        util::xml_set_attribute(root, "serverName", env->serverName);
        util::xml_set_attribute(root, "osName", env->osName);
        util::xml_set_int_attribute(root, "timeZone", time_zone_quarters());
    }
    for (const auto& home : homes) {
        XmlAppendChild(root, *home);
    }
    return util::xml_document(root);
}

xml_node_t CHomeProps::ToXml() const {
    const xml_node_t element = new_document_with("home");
    util::xml_set_attribute(element, "name", name);
    util::xml_set_attribute(element, "version", version);
    util::xml_set_attribute(element, "path", path);
    util::xml_set_attribute(element, "desc", desc);
    for (const auto& child : children) {
        XmlAppendChild(element, *child);
    }
    return util::xml_document(element);
}

CDatabaseProps::CDatabaseProps() : timeUtc(current_time_text()) {}

xml_node_t CDatabaseProps::ToXml() const {
    const xml_node_t element = new_document_with("database");
    util::xml_set_bool_attribute(element, "isError", isError);
    if (isError) {
        util::xml_set_attribute(element, "sid", sid);
        util::xml_set_attribute(element, "config", config);
        util::xml_set_attribute(element, "errorDescription", errorDescription);
        return util::xml_document(element);
    }
    util::xml_set_attribute(element, "name", name);
    util::xml_set_attribute(element, "id", id);
    util::xml_set_attribute(element, "sid", sid);
    util::xml_set_attribute(element, "config", config);
    util::xml_set_bool_attribute(element, "archiveLogsOn", archiveLogsOn);
    util::xml_set_bool_attribute(element, "isReadonly", isReadonly);
    util::xml_set_attribute(element, "timeUtc", timeUtc);
    util::xml_set_attribute(element, "pfile", pfile);
    util::xml_set_attribute(element, "pwdFilePath", pwdFilePath);
    util::xml_set_attribute(element, "globalName", globalName);
    util::xml_set_attribute(element, "recoveryFileDest", recoveryFileDest);
    util::xml_set_attribute(element, "localListener", localListener);
    util::xml_set_attribute(element, "remoteListener", remoteListener);
    util::xml_set_bool_attribute(element, "hasGuaranteedRestorePoints", hasGuaranteedRestorePoints);
    util::xml_set_bool_attribute(element, "isCluster", isCluster);
    util::xml_set_attribute(element, "resetlogsChange", resetlogsChange);

    XmlAppendFileList(element, "control_files", controlFiles);
    XmlAppendFileList(element, "data_files", dataFiles);
    XmlAppendFileList(element, "log_files", logFiles);
    XmlAppendFileList(element, "temp_files", tempFiles);
    mark_log_groups(util::xml_child(element, "log_files"), logGroups);

    const xml_node_t list = util::xml_add_element(element, "pdbs");
    for (const auto& [pdb_name, guid] : pdbs) {
        const xml_node_t db = util::xml_add_element(list, "db");
        util::xml_set_attribute(db, "name", pdb_name);
        util::xml_set_attribute(db, "guid", guid);
    }
    return util::xml_document(element);
}

xml_node_t CDbFileProps::ToXml() const {
    const xml_node_t element = new_document_with("dbfile");
    util::xml_set_attribute(element, "path", path);
    util::xml_set_attribute(element, "size", size);
    return util::xml_document(element);
}

xml_node_t CAsmInstanceProps::ToXml() const {
    const xml_node_t element = new_document_with("asm");
    util::xml_set_attribute(element, "sid", sid);
    for (const auto& disk : disks) {
        XmlAppendChild(element, *disk);
    }
    return util::xml_document(element);
}

xml_node_t CAsmDiskProps::ToXml() const {
    const xml_node_t element = new_document_with("disk");
    util::xml_set_attribute(element, "name", name);
    util::xml_set_attribute(element, "path", path);
    util::xml_set_attribute(element, "state", state);
    return util::xml_document(element);
}

}  // namespace specific::oracle
