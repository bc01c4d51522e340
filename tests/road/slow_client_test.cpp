// Runs where loading the client library hangs for longer than a connection may take.
#include <chrono>
#include <thread>

#include "road/road.h"

namespace road {
namespace {

using ClientSlow = Road;

TEST_F(ClientSlow, TheCallerComesBackAndTheLateThreadLeavesEverythingAlone) {
    server.add_home(home19());
    server.add_instance(home19(), instance("ORCL"));
    set("OracleConnectionTimeout", 1);
    write();
    expect_in_log("Failed to gather database props for SID: ORCL");
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    const auto begin = std::chrono::steady_clock::now();
    const document_t document(module.explore().result);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(5500));
    EXPECT_NE(document.attribute("home/database[ORCL]", "errorDescription")
                  .find("Failed to terminate oracle session init thread"),
              std::string::npos)
        << "a thread inside the loader holds the loader's lock and cannot be ended";
    const std::string text = log();
    std::this_thread::sleep_for(std::chrono::seconds(5));
    EXPECT_EQ(log(), text);
}

}  // namespace
}  // namespace road
