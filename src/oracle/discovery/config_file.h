// Where an instance keeps its parameter and password files on disk.
#pragma once

#include <string>

#include "oracle/sid.h"

namespace specific::oracle {

/// The folder "database" of the instance's home, or of its base where the home is read-only.
std::wstring DatabaseFolder(const SOracleSid& sidRecord);

/// The instance's spfile in that folder, failing that its init file, failing that an empty text.
/// Needs no session.
std::wstring FindConfigFile(const SOracleSid& sidRecord);

}  // namespace specific::oracle
