// The file that a snapshot catches, so that whoever restores it can finish what was begun.
#pragma once

#include <string>

#include "config/credentials.h"

namespace specific::oracle {

/// OracleMeta.xml in the staging folder, which is made. Throws.
std::wstring GetBackupMetaPath();

/// None of these throws: failures are logged.

/// Replaces the file, which is whole or absent; nothing is done for an empty document. The accounts
/// are stored in their protected form (config/protected_credentials.h).
void SaveBackupMeta(const std::wstring& path, const std::wstring& prepareXml,
                    const SOracleCredentials& credentials, const std::wstring& osUserName,
                    const util::wide_secret_t& osPassword);
/// What the file does not hold stays empty.
void ReadBackupMeta(const std::wstring& path, std::wstring& prepareXml,
                    SOracleCredentials& credentials, std::wstring& osUserName,
                    std::wstring& osPassword);
void RemoveBackupMeta(const std::wstring& path);

}  // namespace specific::oracle
