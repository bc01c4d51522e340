// Undoes what preparing did, on the live machine or on one brought back from an image.
#pragma once

#include <string>

#include "config/credentials.h"

namespace specific::oracle {

/// Walks the databases of a prepare document in its order; each one's recorded action alone
/// decides what is done. One that fails is logged and does not stop the others. Throws where the
/// document cannot be read; then nothing was done.
void FinishDbs(const std::wstring& prepareXml, const SOracleCredentials& credentials,
               bool isRestore);

}  // namespace specific::oracle
