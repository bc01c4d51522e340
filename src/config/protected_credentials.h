// The form in which accounts stand in the backup's meta file.
#pragma once

#include <string>

#include "support/text/secret.h"

namespace specific::oracle {

/// Both return false after a failure, which is logged, never with a password. All texts are in the
/// ANSI code page.

/// Writes no secret: whatever the account, the text holds an empty one.
bool protect_credentials(const std::string& user, const util::secret_t& password,
                         std::string& text);
/// Reads any account that such a text holds.
bool unprotect_credentials(const std::string& text, std::string& user, std::string& password);

/// An XML text for the log: protected forms in it (the attributes conn and os_conn) do not show,
/// but for the one that protect_credentials writes. A text without them is left as it is; one that
/// names them and cannot be parsed does not show at all.
std::string hide_protected(const std::string& xml);

}  // namespace specific::oracle
