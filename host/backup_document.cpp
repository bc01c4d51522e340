#include "host/backup_document.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <tuple>

#include <tinyxml.h>

#include "host/system.h"
#include "host/text.h"
#include "host/xml.h"

namespace host {

namespace {

std::uint64_t number_of(const TiXmlElement& element, const char* name) {
    return std::strtoull(text_of(element, name).c_str(), nullptr, 10);
}

// Calls `take` with each child of the root, whose name must be `root`.
template <typename Take>
void read_children(const std::string& xml, const char* root, const char* what, const Take& take) {
    TiXmlDocument document;
    parse_xml(xml, what, document);
    const TiXmlElement* const element = document.RootElement();
    if (element->ValueStr() != root) {
        throw std::runtime_error(std::string("this is no ") + what);
    }
    for (const TiXmlElement* child = element->FirstChildElement(); child;
         child = child->NextSiblingElement()) {
        take(*child);
    }
}

}  // namespace

const char* action_word(int action) {
    static const char* const words[] = {"failed",  "not open",   "in backup mode", "shut down",
                                        "its own", "left alone", "left alone"};
    return action >= 0 && action < 7 ? words[action] : "unknown";
}

std::string verdict_of(const prepared_db_t& database) {
    switch (database.action) {
        case 1:
            return "left alone: it is not open";
        case 2:
            return database.error.empty() ? "consistent: in backup mode until finish"
                                          : "in backup mode until finish, but incomplete";
        case 3:
            return "cold: shut down until finish";
        case 4:
            return "left to its own writer";
        case 5:
            return "not protected: no archive log mode, left alone by settings or version";
        case 6:
            return "not protected: left alone by settings or version";
        default:
            return "failed";
    }
}

bool is_protected(const prepared_db_t& database) {
    return database.error.empty() && database.action >= 1 && database.action <= 4;
}

std::vector<prepared_db_t> read_prepare_document(const std::string& xml) {
    std::vector<prepared_db_t> databases;
    read_children(xml, "databases", "prepare document", [&](const TiXmlElement& element) {
        prepared_db_t database;
        database.sid = text_of(element, "sid");
        database.home = text_of(element, "home");
        database.action = std::atoi(text_of(element, "action").c_str());
        database.autostart = text_of(element, "autostart") == "true";
        database.time_utc = text_of(element, "timeUtc");
        database.scn = text_of(element, "scn");
        database.error = text_of(element, "errMsg");
        if (const TiXmlElement* const logs = element.FirstChildElement("archived_logs")) {
            for (const TiXmlElement* log = logs->FirstChildElement(); log;
                 log = log->NextSiblingElement()) {
                ++database.logs;
            }
        }
        databases.push_back(database);
    });
    return databases;
}

std::vector<staged_log_t> read_log_list(const std::string& xml) {
    std::vector<staged_log_t> logs;
    read_children(xml, "archived_logs", "list of logs", [&](const TiXmlElement& element) {
        if (element.ValueStr() != "archived_log") {
            return;  // the meta file of a backup under way comes up in the list too
        }
        staged_log_t log;
        log.path = text_of(element, "logPath");
        log.description = text_of(element, "xmlLogPath");
        log.bytes = number_of(element, "size");
        log.is_copy = text_of(element, "isLogCopied") == "true";
        log.sid = text_of(element, "sid");
        log.db_id = text_of(element, "dbId");
        log.resetlogs = text_of(element, "resetlogsChange");
        log.sequence = number_of(element, "seqNum");
        log.first_change = number_of(element, "firstChange");
        log.next_change = number_of(element, "nextChange");
        log.rec_id = text_of(element, "recId");
        logs.push_back(log);
    });
    return logs;
}

std::string make_intent_document(const explore_document_t& explored) {
    TiXmlElement root("databases");
    for (const home_entry_t& home : explored.homes) {
        for (const database_entry_t& database : home.databases) {
            if (database.is_error) {
                continue;
            }
            TiXmlElement element("database");
            element.SetAttribute("sid", database.sid);
            element.SetAttribute("home", home.path);
            element.SetAttribute("action", database.archive_logs_on ? "2" : "3");
            element.SetAttribute("autostart", "true");
            element.SetAttribute("reverted", "false");
            for (const char* name :
                 {"timeUtc", "scn", "errMsg", "lastLogNum", "maxLogRecId", "maxLogStamp"}) {
                element.SetAttribute(name, "");
            }
            element.SetAttribute("BackupWithBackupState", "true");
            element.InsertEndChild(TiXmlElement("pdbs"));
            element.InsertEndChild(TiXmlElement("archived_logs"));
            root.InsertEndChild(element);
        }
    }
    TiXmlPrinter printer;
    printer.SetStreamPrinting();
    root.Accept(&printer);
    return printer.Str();
}

std::string document_of_meta(const std::string& meta_xml) {
    TiXmlDocument document;
    parse_xml(meta_xml, "meta file", document);
    const TiXmlElement* const root = document.RootElement();
    const auto content =
        root->ValueStr() == "restore" ? from_base64(text_of(*root, "dbPrepareXml")) : std::nullopt;
    if (!content) {
        throw std::runtime_error("this is no meta file");
    }
    return ansi_to_utf8(*content);
}

std::vector<std::string> find_gaps(std::vector<staged_log_t> logs) {
    const auto key = [](const staged_log_t& log) {
        return std::tie(log.sid, log.db_id, log.resetlogs, log.first_change, log.next_change);
    };
    std::sort(logs.begin(), logs.end(),
              [&](const staged_log_t& a, const staged_log_t& b) { return key(a) < key(b); });
    std::vector<std::string> findings;
    const auto name = [](const staged_log_t& log) {
        return log.sid + " log " + std::to_string(log.sequence);
    };
    for (std::size_t i = 0; i < logs.size(); ++i) {
        if (logs[i].next_change < logs[i].first_change) {
            findings.push_back(name(logs[i]) + " ends before it begins");
        }
        if (i == 0 || logs[i].sid != logs[i - 1].sid || logs[i].db_id != logs[i - 1].db_id ||
            logs[i].resetlogs != logs[i - 1].resetlogs) {
            continue;
        }
        const staged_log_t& before = logs[i - 1];
        // The same log staged twice is no harm.
        if (key(before) == key(logs[i])) {
            continue;
        }
        if (logs[i].first_change > before.next_change) {
            findings.push_back("a gap behind " + name(before) + ": SCN " +
                               std::to_string(before.next_change) + " to " +
                               std::to_string(logs[i].first_change) + " is in no log");
        } else if (logs[i].first_change < before.next_change) {
            findings.push_back(name(before) + " and " + name(logs[i]) + " overlap from SCN " +
                               std::to_string(logs[i].first_change) + " on");
        }
    }
    return findings;
}

}  // namespace host
