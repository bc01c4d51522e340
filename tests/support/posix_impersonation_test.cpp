// The seam of the file operations, with contexts of each kind. Wine knows neither accounts nor
// connections.
#include <thread>

#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "platform/posix/faults.h"
#include "support/fixture.h"
#include "support/logging/start.h"
#include "support/win/file.h"
#include "support/win/impersonation.h"
#include "support/win/path.h"

namespace support_test {
namespace {

using platform::faults::arm;

class Impersonation : public Machine {
  protected:
    Impersonation() {
        write_file(machine.folder / "accounts.ini", "[LAB\\keeper]\npassword=distinct\n");
        std::filesystem::create_directories(machine.folder / "shares/srv/sh");
        write_file(machine.folder / "shares/srv/sh/file", "text");
        logging::start_log({L"-log", L"C:\\test.log"});
        std::filesystem::resize_file(log, 0);
    }
    ~Impersonation() override { win::set_context(L"\\\\srv\\sh", nullptr); }

    // The log since the last look, without time stamps and threads.
    std::string news() {
        std::string text;
        std::istringstream stream(read_file(log));
        for (std::string line; std::getline(stream, line);) {
            text += line.substr(line.find("> ") + 2) + "\n";
        }
        std::filesystem::resize_file(log, 0);
        return text;
    }

    static bool is_impersonating() {
        HANDLE token = nullptr;
        if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token)) return false;
        CloseHandle(token);
        return true;
    }

    static HANDLE log_on() {
        HANDLE token = nullptr;
        EXPECT_TRUE(LogonUserW(L"keeper", L"LAB", L"distinct", LOGON32_LOGON_INTERACTIVE,
                               LOGON32_PROVIDER_DEFAULT, &token));
        return token;
    }

    const std::filesystem::path log = drive / "test.log";
    const std::wstring path = L"\\\\srv\\sh\\file";
};

TEST_F(Impersonation, WithoutAContextOnlyALineForAPathOnAShare) {
    const struct {
        const wchar_t* path;
        const char* line;
    } rows[] = {
        {L"C:\\test.log", ""},
        {L"\\\\srv", ""},
        {L"\\\\srv\\", ""},
        {L"\\\\?\\UNC\\srv", ""},
        {L"\\\\srv\\sh\\file", "This path \\\\srv\\sh\\file have not impersonation context\n"},
        {L"\\\\?\\UNC\\srv\\sh\\file",
         "This path \\\\?\\UNC\\srv\\sh\\file have not impersonation context\n"},
    };
    for (const auto& row : rows) {
        EXPECT_FALSE(win::find_context(row.path));
        EXPECT_EQ(news(), row.line);
    }
    EXPECT_TRUE(win::path_exists(path));
    EXPECT_EQ(win::win_file_t::open_read_only(path)->read_all(), "text");
    EXPECT_EQ(news(),
              "This path \\\\srv\\sh\\file have not impersonation context\n"
              "This path \\\\srv\\sh\\file have not impersonation context\n");
}

TEST_F(Impersonation, ATokenActsUntilTheOutermostScopeOfTheThreadEnds) {
    win::set_context(L"\\\\SRV\\Sh", boost::make_shared<win::token_context_t>(log_on()));
    {
        const auto outer = win::make_file_scope(path);
        EXPECT_TRUE(win::path_exists(L"\\\\?\\UNC\\srv\\sh\\file"));
        EXPECT_TRUE(is_impersonating());
        std::thread([] { EXPECT_FALSE(is_impersonating()); }).join();
    }
    EXPECT_FALSE(is_impersonating());
    EXPECT_EQ(news(),
              "Found impersonation context for share \\\\srv\\sh\n"
              "File operations for path '\\\\srv\\sh\\file' will be performed under impersonation "
              "context.\n"
              "Found impersonation context for share \\\\srv\\sh\n"
              "File operations for path '\\\\?\\UNC\\srv\\sh\\file' will be performed under "
              "impersonation context.\n");
    for (const char* call : {"DuplicateToken", "ImpersonateLoggedOnUser"}) {
        arm(call, 1, ERROR_ACCESS_DENIED);
        EXPECT_EQ(failure_of([&] { win::make_file_scope(path); }),
                  "Access is denied.\nFailed to impersonate thread.\n--tr:Error code: "
                  "0x00000005\n--tr:Failed to impersonate user.");
        EXPECT_NE(news().find("ERR |Access is denied.\n>>  |Failed to impersonate thread."),
                  std::string::npos);
    }
    arm("RevertToSelf", 1, ERROR_ACCESS_DENIED);
    win::make_file_scope(path);
    EXPECT_NE(news().find(">>  |Impersonation session failed to revert to self."),
              std::string::npos);
}

TEST_F(Impersonation, ASecurityContext) {
    const HANDLE token = log_on();
    CtxtHandle handshake = {reinterpret_cast<ULONG_PTR>(token), 0};
    win::set_context(L"\\\\srv\\sh", boost::make_shared<win::security_context_t>(&handshake));
    {
        const auto scope = win::make_file_scope(path);
        EXPECT_TRUE(is_impersonating());
    }
    EXPECT_FALSE(is_impersonating());
    arm("RevertSecurityContext", 1, 0);
    win::make_file_scope(path);
    EXPECT_NE(news().find("WARN|Security context failed to revert to self: 0x80090301."),
              std::string::npos);
    CloseHandle(token);
    RevertToSelf();
    EXPECT_EQ(failure_of([&] { win::make_file_scope(path); }),
              "Security context failed to impersonate: 0x80090301.\n--tr:Failed to impersonate "
              "user.");
    win::set_context(L"\\\\srv\\sh", boost::make_shared<win::security_context_t>(nullptr));
    EXPECT_EQ(failure_of([&] { win::make_file_scope(path); }),
              "Security context is null.\n--tr:Failed to impersonate user.");
}

TEST_F(Impersonation, AConnectionIsThereWhileAThreadUsesIt) {
    const auto connection = [](const wchar_t* password) {
        win::set_context(L"\\\\srv\\sh", boost::make_shared<win::share_connection_t>(
                                             L"\\\\srv\\sh", L"LAB\\keeper", password));
    };
    connection(L"distinct");
    {
        const auto scope = win::make_file_scope(path);
        news();
        std::thread([&] { win::make_file_scope(path); }).join();
        EXPECT_EQ(news(),
                  "Found impersonation context for share \\\\srv\\sh\n"
                  "File operations for path '\\\\srv\\sh\\file' will be performed under "
                  "impersonation context.\n"
                  "Checking that NetUse connection to share '\\\\srv\\sh' is exist.\n"
                  "  Share: '\\\\srv\\sh', Status: '0', RefCount: '0', UseCount: '1'.\n"
                  "Checking that NetUse connection to share '\\\\srv\\sh' is exist. ok.\n");
    }
    EXPECT_NE(news().find("Deleting NetUse connection to share '\\\\srv\\sh'. ok."),
              std::string::npos);

    arm("NetUseGetInfo", 1, ERROR_ACCESS_DENIED);
    arm("NetUseDel", 1, ERROR_BUSY);
    win::make_file_scope(path);
    std::string text = news();
    EXPECT_NE(text.find(">>  |  Failed to get information about connection to share"),
              std::string::npos);
    EXPECT_NE(text.find(">>  |Failed to delete connection to share '\\\\srv\\sh'"),
              std::string::npos);
    win::make_file_scope(path);

    connection(L"wrong distinct");
    EXPECT_NE(failure_of([&] {
                  win::make_file_scope(path);
              }).find("Failed to create NetUse connection to share '\\\\srv\\sh'\n"),
              std::string::npos);
    text = news();
    EXPECT_NE(text.find("Connection to share '\\\\srv\\sh' not found."), std::string::npos);
    EXPECT_NE(text.find("Creating NetUse connection to share '\\\\srv\\sh' Failed."),
              std::string::npos);
    EXPECT_EQ(text.find("distinct"), std::string::npos);
}

}  // namespace
}  // namespace support_test
