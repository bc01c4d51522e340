// Where the things of a sandbox lie on the disk.
#pragma once

#include <filesystem>
#include <string>

namespace sandbox {

/// The native path of a Windows path (`C:\x`, `\\srv\sh\x`) or an ASM path (`+DATA/x`), UTF-8.
/// Components match ignoring case where the exact name is absent.
std::filesystem::path native_path(const std::filesystem::path& sandbox, const std::string& path);

/// The database file of an instance, whether it is there or not; the SID's case does not matter.
std::filesystem::path instance_file(const std::filesystem::path& sandbox, const std::string& sid);

bool is_asm_path(const std::string& path);
/// ASCII letters only.
std::string to_upper(std::string text);
bool equal_ignoring_case(const std::string& a, const std::string& b);

}  // namespace sandbox
