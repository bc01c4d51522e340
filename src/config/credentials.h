// The database logon that travels from the host's call to a session.
#pragma once

#include <string>

namespace specific::oracle {

/// An empty user means operating-system authentication. Both texts are in the ANSI code page.
struct SOracleCredentials {
    std::string user;
    std::string password;
};

}  // namespace specific::oracle
