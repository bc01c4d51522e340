// Brings the databases of the machine into a state in which a volume snapshot can be restored.
#pragma once

#include <string>

#include "config/credentials.h"

namespace specific::oracle {

/// Visits each instance that `configXml` (docs/formats/explore-config.md) does not exclude, one
/// after the other: begins backup mode where there is archive log mode, shuts down where there is
/// none. Returns the prepare document, the only memory of it. A database that fails has its reason
/// there; what throws is a failure of the walk.
std::wstring PrepareDbs(const std::wstring& configXml, const SOracleCredentials& credentials);

}  // namespace specific::oracle
