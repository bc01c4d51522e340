// Files that only the database can reach: those in ASM, and those of its service's account.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/session.h"

namespace specific::oracle {

/// True for a path that begins with "+", the name of a disk group.
bool is_asm_path(const std::wstring& path);

/// A name for a directory object, used once and never again: 26 characters.
std::string make_directory_name();

/// Copies a file with DBMS_FILE_TRANSFER through two directory objects of the session's user.
/// Throws; after a failure the objects made so far stay in the database.
void copy_asm_file(const COracleSession& session, const std::string& from, const std::string& to);

/// Asks DBMS_DISKGROUP. Never throws: a failure of the call is logged and counts as no file.
bool asm_file_exists(const COracleSession& session, const std::string& path);

/// Removes a file with UTL_FILE through a directory object. Throws as copy_asm_file does.
void remove_file_with_query(const COracleSession& session, const std::wstring& path);

}  // namespace specific::oracle
