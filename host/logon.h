// The logon to the databases, from the command line's options.
#pragma once

#include <vector>

#include "host/module.h"
#include "host/options.h"

namespace host {

/// These options and those that name the logon.
std::vector<option_t> with_logon(std::vector<option_t> options);

/// Throws usage_error_t for options that do not go together, std::runtime_error where there is no
/// password to be had.
logon_t get_logon(const arguments_t& arguments);

}  // namespace host
