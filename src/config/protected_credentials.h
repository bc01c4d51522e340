// The form in which accounts stand in the backup's meta file.
#pragma once

#include <string>

namespace specific::oracle {

/// Both return false after a failure, which is logged, never with a password. All texts are in the
/// ANSI code page.

/// Writes no secret: whatever the account, the text holds an empty one.
bool protect_credentials(const std::string& user, const std::string& password, std::string& text);
/// Reads any account that such a text holds.
bool unprotect_credentials(const std::string& text, std::string& user, std::string& password);

/// An XML text for the log: the protected forms in it (the attributes conn and os_conn) left out.
std::string hide_protected(std::string xml);

}  // namespace specific::oracle
