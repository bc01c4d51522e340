// A registry as regedit exports it: UTF-16 with its mark.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace sandbox {

enum class value_kind { text, expandable_text, number, bytes };

struct registry_value_t {
    value_kind kind = value_kind::text;
    std::string text;  ///< also the bytes of kind `bytes`
    std::uint32_t number = 0;
};

/// Keys under HKEY_LOCAL_MACHINE with their values by name.
using registry_t = std::map<std::string, std::map<std::string, registry_value_t>>;

/// A whole file.
std::string to_reg_file(const registry_t& registry);
/// Sections to be appended to such a file; the later ones add to those above.
std::string to_reg_sections(const registry_t& registry);

}  // namespace sandbox
