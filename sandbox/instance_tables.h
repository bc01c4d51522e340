// From the description of an instance to the rows of its database.
#pragma once

#include <filesystem>
#include <string>

#include "sandbox/builder.h"

namespace sandbox {

/// The folder of the parameter and password files, under the base for a read-only home.
std::string parameter_folder(const home_t& home);

/// The description with everything filled in that was left empty.
instance_t complete_instance(const instance_t& instance);

/// Makes the database of a complete description; one of the same SID is replaced.
void write_instance(const std::filesystem::path& sandbox, const home_t& home,
                    const instance_t& instance, const std::string& host);

}  // namespace sandbox
