// The database logon that travels from the host's call to a session.
#pragma once

#include <string>

#include "support/text/secret.h"

namespace specific::oracle {

/// An empty user means operating-system authentication. Both texts are in the ANSI code page.
struct SOracleCredentials {
    std::string user;
    util::secret_t password;
};

}  // namespace specific::oracle
