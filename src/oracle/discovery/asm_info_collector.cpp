#include "oracle/discovery/asm_info_collector.h"

#include <exception>

#include <boost/make_shared.hpp>

#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"

namespace specific::oracle {

boost::shared_ptr<COracleProps> CAsmInfoCollector::Collect() {
    try {
        logging::log_scope_t scope(logging::g_oralib_log, "Gathering ASM properties for SID: [%1]",
                                   util::to_ansi_safe(sidRecord->sid));
        const auto props = boost::make_shared<CAsmInstanceProps>(sidRecord->sid);
        const auto result = holder->get_session()->query()->exec(
            "SELECT D.PATH,DG.NAME,D.MODE_STATUS FROM V$ASM_DISK D, V$ASM_DISKGROUP DG "
            "WHERE DG.GROUP_NUMBER=D.GROUP_NUMBER",
            3, false);
        row_t row;
        while (result->next(row)) {
            if (row.size() != 3) {
                continue;
            }
            const auto disk = boost::make_shared<CAsmDiskProps>();
            disk->path = row[0];
            disk->name = row[1];
            disk->state = row[2];
            props->disks.push_back(disk);
        }
        scope.ok();
        return props;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to gather ASM properties.", e);
    }
}

}  // namespace specific::oracle
