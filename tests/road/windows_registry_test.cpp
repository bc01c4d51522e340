// The registry of a sandbox, imported by Windows' own tool to where it belongs.
#include <windows.h>

#include "road/road.h"

namespace road {
namespace {

class WindowsRegistry : public Road {
  protected:
    void TearDown() override {
        if (!IsSkipped()) {
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\ORACLE");
            for (const std::string& sid : sandbox::list_sids(folder)) {
                const std::string kind = sid[0] == '+' ? "OracleASMService" : "OracleService";
                RegDeleteTreeA(HKEY_LOCAL_MACHINE,
                               ("SYSTEM\\CurrentControlSet\\Services\\" + kind + sid).c_str());
            }
        }
        Road::TearDown();
    }
};

TEST_F(WindowsRegistry, ImportedGivesTheSameDocument) {
    if (!GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version")) {
        GTEST_SKIP() << "the registry of a real machine is left alone";
    }
    sandbox::make_demo_server(folder);
    expect_in_log("Oracle database instance state is not valid for property collection");
    expect_in_log("Failed to end OCI session, error: 4294967295");
    ASSERT_EQ(run_command("start /wait regedit /S " + (folder / "registry.reg").string()), 0);
    std::string imported;
    {
        module_t module;
        ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
        imported = module.explore().result;
    }
    made_elsewhere = true;
    EXPECT_NE(document_t(imported).find("home[OraDB19Home1]/database[ORCL]"), nullptr);
    EXPECT_EQ(readable(imported), readable(explore().result));
}

}  // namespace
}  // namespace road
