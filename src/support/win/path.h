// Paths and what stands at them. Paths are Windows paths; narrow ones are in the ANSI code page.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace win {

/// A file or folder is there. Throw where that cannot be told.
bool path_exists(const std::wstring& path);
bool path_exists(const std::string& path);
bool folder_exists(const std::wstring& path);
bool folder_exists(const std::string& path);

/// In bytes. Throws where the file cannot be looked at.
std::uint64_t file_size(const std::wstring& path);

/// The files of a folder, in the order of the system; neither folders nor what lies in them.
std::vector<std::wstring> list_files(const std::wstring& folder);

/// Throw where the file cannot be deleted.
void remove_file(const std::wstring& path);
void remove_file(const std::string& path);

/// Within one drive; an old file at `to` is replaced. Comes back when the disk has it. Throws
/// win_sys_exc_t.
void move_file(const std::wstring& from, const std::wstring& to);

/// For what a failure has left behind: a failure to delete it is logged as a warning.
void remove_leftover(const std::wstring& path);

/// Throws win_sys_exc_t.
void create_empty_file(const std::wstring& path);

/// Makes the folder that each separator of the path ends, where it is missing: what stands behind
/// the last separator is not made. Knows "\\?\", "\\?\UNC\" and server names. Throws win_sys_exc_t.
void create_directories(const std::wstring& path);

/// Splits at the last "/" or "\"; with neither, the folder is empty.
void split_path(const std::wstring& path, std::wstring& folder, std::wstring& name);
void split_path(const std::string& path, std::string& folder, std::string& name);

/// What begins with the last dot of the path's last component; empty where there is none.
std::wstring get_extension(const std::wstring& path);
/// The path with that part replaced, or with `extension`, which has its dot, behind it.
std::wstring replace_extension(const std::wstring& path, const std::wstring& extension);

/// "C:\" of a path on drive C:; empty for a path without a drive.
std::wstring get_root_path(const std::wstring& path);

/// `a` and `b` with one separator between them; all separators become "\". An absolute `b` stands
/// alone.
std::wstring join_path(const std::wstring& a, const std::wstring& b);
std::string join_path(const std::string& a, const std::string& b);

/// The folder for temporary files (GetTempPathW). Throws win_sys_exc_t.
std::wstring get_temp_folder();

/// The machine's common application data folder (SHGetFolderPathW). Throws com_exc_t.
std::wstring get_common_appdata_folder();

/// A new GUID between "{" and "}". Throws com_exc_t.
std::wstring make_guid_text();

}  // namespace win
