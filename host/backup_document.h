// The prepare document and the list of staged logs as the host understands them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/explore_document.h"

namespace host {

struct prepared_db_t {
    std::string sid;
    std::string home;
    int action = 0;
    bool autostart = false;
    std::string time_utc;
    std::string scn;
    std::string error;  ///< the module's lines, empty if all went well
    std::size_t logs = 0;
};

/// The word for a database's action.
const char* action_word(int action);
/// What became of a database, in plain words.
std::string verdict_of(const prepared_db_t& database);
/// Whether an image that is taken now can be brought back.
bool is_protected(const prepared_db_t& database);

struct staged_log_t {
    std::string path;
    std::string description;
    std::uint64_t bytes = 0;
    bool is_copy = false;
    std::string sid;
    std::string db_id;
    std::string resetlogs;
    std::uint64_t sequence = 0;
    std::uint64_t first_change = 0;
    std::uint64_t next_change = 0;
    std::string rec_id;
};

/// Each throws std::runtime_error for what is no such document.
std::vector<prepared_db_t> read_prepare_document(const std::string& xml);
std::vector<staged_log_t> read_log_list(const std::string& xml);

/// A prepare document as if every open database had been put into backup mode, or shut down where
/// it has no archive log mode. Finishing by it undoes what a prepare that was cut off may have
/// done.
std::string make_intent_document(const explore_document_t& explored);

/// The prepare document that the text of a meta file holds. Throws std::runtime_error.
std::string document_of_meta(const std::string& meta_xml);

/// What is wrong with a chain of logs, in plain words; empty if nothing. A chain is what belongs to
/// one database and incarnation, held together by SCN.
std::vector<std::string> find_gaps(std::vector<staged_log_t> logs);

}  // namespace host
