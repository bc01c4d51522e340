#include "oracle/connect/file_remover.h"

#include <exception>

#include "oracle/connect/server_files.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/win/path.h"

namespace specific::oracle {

using logging::g_oralib_log;

CFileRemover::~CFileRemover() {
    try {
        remove();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to destroy file remover", e);
    }
}

void CFileRemover::remove() const {
    if (!win::path_exists(path)) {
        return;
    }
    std::string failure;
    try {
        win::remove_file(path);
        return;
    } catch (const std::exception& e) {
        failure = e.what() ? e.what() : "Failed to delete file";
    }
    if (!session) {
        g_oralib_log.warning("Failed to delete file: %1. %2", path, failure);
        return;
    }
    g_oralib_log.line("Removing file with oracle query");
    remove_file_with_query(*session, util::from_ansi(path));
}

}  // namespace specific::oracle
