#include "host/explore_document.h"

#include <tinyxml.h>

#include <stdexcept>

#include "host/xml.h"

namespace host {

namespace {

bool bool_of(const TiXmlElement& element, const char* attribute) {
    return text_of(element, attribute) == "true";
}

template <typename Visit>
void for_each_child(const TiXmlElement* parent, const char* name, const Visit& visit) {
    const TiXmlElement* child = parent ? parent->FirstChildElement(name) : nullptr;
    for (; child; child = child->NextSiblingElement(name)) {
        visit(*child);
    }
}

std::vector<file_entry_t> read_files(const TiXmlElement& database, const char* list) {
    std::vector<file_entry_t> files;
    for_each_child(database.FirstChildElement(list), "dbfile", [&](const TiXmlElement& file) {
        files.push_back(
            {text_of(file, "path"), text_of(file, "size"), text_of(file, "groupNumber")});
    });
    return files;
}

database_entry_t read_database(const TiXmlElement& element) {
    database_entry_t database;
    database.is_error = bool_of(element, "isError");
    database.sid = text_of(element, "sid");
    database.config = text_of(element, "config");
    database.error_description = text_of(element, "errorDescription");
    database.name = text_of(element, "name");
    database.archive_logs_on = bool_of(element, "archiveLogsOn");
    database.is_readonly = bool_of(element, "isReadonly");
    database.has_guaranteed_restore_points = bool_of(element, "hasGuaranteedRestorePoints");
    database.is_cluster = bool_of(element, "isCluster");
    database.pfile = text_of(element, "pfile");
    database.control_files = read_files(element, "control_files");
    database.data_files = read_files(element, "data_files");
    database.log_files = read_files(element, "log_files");
    database.temp_files = read_files(element, "temp_files");
    for_each_child(element.FirstChildElement("pdbs"), "db", [&](const TiXmlElement& pdb) {
        database.pdbs.push_back({text_of(pdb, "name"), text_of(pdb, "guid")});
    });
    return database;
}

asm_entry_t read_asm(const TiXmlElement& element) {
    asm_entry_t instance{text_of(element, "sid"), {}};
    for_each_child(&element, "disk", [&](const TiXmlElement& disk) {
        instance.disks.push_back(
            {text_of(disk, "name"), text_of(disk, "path"), text_of(disk, "state")});
    });
    return instance;
}

home_entry_t read_home(const TiXmlElement& element) {
    home_entry_t home;
    home.name = text_of(element, "name");
    home.version = text_of(element, "version");
    home.path = text_of(element, "path");
    home.description = text_of(element, "desc");
    for_each_child(&element, "database", [&](const TiXmlElement& database) {
        home.databases.push_back(read_database(database));
    });
    for_each_child(&element, "asm", [&](const TiXmlElement& instance) {
        home.asm_instances.push_back(read_asm(instance));
    });
    return home;
}

}  // namespace

explore_document_t read_explore_document(const std::string& utf8) {
    TiXmlDocument xml;
    parse_xml(utf8, "explore document", xml);
    const TiXmlElement* const root = xml.RootElement();
    if (root->ValueStr() != "OracleOverall") {
        throw std::runtime_error("this is no explore document");
    }
    explore_document_t document;
    document.server_name = text_of(*root, "serverName");
    document.os_name = text_of(*root, "osName");
    int quarters = 0;
    if (root->QueryIntAttribute("timeZone", &quarters) == TIXML_SUCCESS) {
        document.time_zone = quarters;
    }
    for_each_child(root, "home",
                   [&](const TiXmlElement& home) { document.homes.push_back(read_home(home)); });
    return document;
}

}  // namespace host
