// Runs where the loader finds a client of version 10.1.
#include "road/road.h"

namespace road {
namespace {

using ClientOld = Road;

// It has no calls to start and stop an instance, which costs only what needs them.
TEST_F(ClientOld, ProtectsWhatItCan) {
    server.add_home(home19());
    server.add_instance(home19(), instance("ORCL"));
    sandbox::instance_t stopped = instance("PLAIN");
    stopped.archive_log = false;
    server.add_instance(home19(), stopped);
    write();
    expect_in_log("Failed to archive logs all");
    expect_in_log("Failed to prepare db for backup");
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    const answer_t answer = module.prepare();
    EXPECT_EQ(answer.code, ORALIB_OK) << answer.error;
    const document_t document(answer.result);
    EXPECT_EQ(document.attribute("database[ORCL]", "action"), "2");
    EXPECT_EQ(document.attribute("database[PLAIN]", "action"), "0");
    EXPECT_NE(document.attribute("database[PLAIN]", "errMsg").find("older than 10.2"),
              std::string::npos);
    EXPECT_EQ(sandbox::get_state(folder, "PLAIN"), sandbox::state_t::open);
    EXPECT_EQ(module.finish(answer.result).code, ORALIB_OK);
}

}  // namespace
}  // namespace road
