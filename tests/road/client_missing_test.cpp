// Runs where the loader finds no client library, or one without an entry point.
#include "road/road.h"

namespace road {
namespace {

using ClientMissing = Road;

TEST_F(ClientMissing, IsReportedForEachInstance) {
    server.add_home(home19());
    server.add_instance(home19(), instance("ORCL"));
    server.add_instance(home19(), instance("SALES"));
    expect_in_log("Failed to load OCI library");
    expect_in_log("Failed to gather database props for SID");
    const document_t document(explore().result);
    for (const char* sid : {"ORCL", "SALES"}) {
        EXPECT_NE(document.attribute("home/database[" + std::string(sid) + "]", "errorDescription")
                      .find("Failed to create oracle session holder. Session is invalid."),
                  std::string::npos);
    }
    EXPECT_EQ(count_in_log("Failed to load OCI library"), 2u);
    EXPECT_EQ(count_in_log("Trying to initialize oracle interface Failed."), 2u)
        << "a fault ends the scopes whose frames it left";
}

}  // namespace
}  // namespace road
