// Files that the server writes, copies and removes: on the drives, on shares, and in ASM.
#pragma once

#include <cstdint>
#include <string>

#include "sandbox/oci/instance.h"

namespace sandbox::oci {

/// From memory, or from the server parameter file, which must be there.
void write_pfile(const served_instance_t& instance, const std::string& path, bool from_memory);

bool has_directory(const served_instance_t& instance, const std::string& name);

void copy_file(const served_instance_t& instance, const std::string& from_directory,
               const std::string& from_file, const std::string& to_directory,
               const std::string& to_file);

void remove_file(const served_instance_t& instance, const std::string& directory,
                 const std::string& file);

struct asm_attributes_t {
    std::int64_t type;
    std::int64_t blocks;
    std::int64_t block_size;
};
asm_attributes_t asm_attributes(const served_instance_t& instance, const std::string& path);

}  // namespace sandbox::oci
