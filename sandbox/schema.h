// The tables of an instance's database, and what its state lets a session see of them.
#pragma once

#include <cstdint>
#include <string>

#include "sandbox/database.h"

namespace sandbox {

/// The order is that of starting up.
enum class state_t { down, started, mounted, open };

/// "19.0.0.0.0" is 19; 0 where the text does not begin with a number.
int major_version(const std::string& version);

/// Oracle's packed form of a time "yyyy-mm-dd hh:mm:ss", half of an archived log's identity.
std::int64_t stamp_of(const std::string& time);

/// Makes the tables and views as a server of this version has them.
void create_schema(database_t& database, int major);

/// The state in which a table or view can be read first, down for what is not in the list.
state_t readable_from(const std::string& upper_case_name);

state_t read_state(const database_t& database);

/// Sets the state and what follows from it. Keeps no rule about where from. Not in a transaction
/// of its own.
void enter_state(database_t& database, state_t state, bool read_only);

}  // namespace sandbox
