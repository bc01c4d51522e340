// Accounts of the operating system, by name and password.
#include "config/logon.h"

#include <gtest/gtest.h>

#include "config/protected_credentials.h"
#include "machine.h"
#include "platform/platform.h"
#include "sandbox/native.h"
#include "support/exc/exc.h"

namespace specific::oracle {
namespace {

TEST(Logon, ANameSplitsAtItsFirstBackslash) {
    const struct {
        const wchar_t *name, *domain, *user;
        bool is_upn;
    } cases[] = {{L"keeper", L".", L"keeper", false},
                 {L"LAB\\keeper", L"LAB", L"keeper", false},
                 {L"LAB\\a\\b", L"LAB", L"a\\b", false},
                 {L"LAB\\kee@per", L"LAB", L"kee@per", false},
                 {L"keeper@lab.example", L"", L"", true}};
    for (const auto& entry : cases) {
        std::wstring domain = L"before";
        std::wstring user = L"before";
        bool is_upn = !entry.is_upn;
        split_user_name(entry.name, domain, user, is_upn);
        EXPECT_TRUE(domain == entry.domain && user == entry.user && is_upn == entry.is_upn)
            << testing::PrintToString(entry.name);
    }
}

TEST(Logon, TheThreadActsAsTheAccount) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "the accounts are the machine's own";
    }
    const machine_t machine;
    write_file(machine.folder / "accounts.ini",
               "[LAB\\keeper]\npassword=secret\nupn=keeper@lab.example\n[local]\npassword=\n");
    const auto shown = machine.folder / "run" /
                       (std::to_string(sandbox::process_id()) + "-" +
                        std::to_string(sandbox::thread_id()) + ".account");
    const struct {
        const wchar_t *name, *password;  // base64
        const char *account, *failure;
    } cases[] = {
        {L"LAB\\keeper", L"c2VjcmV0", "LAB\\keeper", ""},
        {L"keeper@lab.example", L"c2VjcmV0", "LAB\\keeper", ""},
        {L"local", L"", "local", ""},
        {L"keeper", L"c2VjcmV0", "", "Failed to logon user [keeper]"},
        {L"LAB\\keeper", L"c2VjcmV", "", "Failed to logon user [LAB\\keeper]"},
        {L"other@lab.example", L"c2VjcmV0", "", "Failed to logon UPN user [other@lab.example]"},
    };
    for (const auto& entry : cases) {
        CAccessToken token;
        std::string failure;
        try {
            logon_user(entry.name, entry.password, token);
            impersonate_user(token.token);
        } catch (const exc::win_sys_exc_t& e) {
            failure = e.what();
        }
        EXPECT_NE(failure.find(entry.failure), std::string::npos) << failure;
        EXPECT_EQ(read_file(shown), entry.account) << testing::PrintToString(entry.name);
        RevertToSelf();
    }
    EXPECT_THROW(impersonate_user(nullptr), exc::runtime_exc_t);
}

TEST(Logon, TheProtectedFormOfAnyAccountHoldsNone) {
    std::string text, same, user, password;
    const std::string secret = "secret";
    EXPECT_TRUE(protect_credentials("keeper", {secret.begin(), secret.end()}, text) &&
                protect_credentials("", {}, same));
    EXPECT_EQ(text, same);
    EXPECT_TRUE(unprotect_credentials(text, user, password));
    EXPECT_EQ(user + password, "");
    // <root u="a2VlcGVy" p="c2VjcmV0"/>
    EXPECT_TRUE(
        unprotect_credentials("PHJvb3QgdT0iYTJWbGNHVnkiIHA9ImMyVmpjbVYwIi8+", user, password));
    EXPECT_EQ(user + " " + password, "keeper secret");
    EXPECT_FALSE(unprotect_credentials("bm8gZG9jdW1lbnQ=", user, password));
}

}  // namespace
}  // namespace specific::oracle
