#include "host/logon.h"

#include "host/password.h"

namespace host {

std::vector<option_t> with_logon(std::vector<option_t> options) {
    options.push_back({"--user", "NAME", "log on to the databases as this user"});
    options.push_back(
        {"--password-file", "FILE", "the user's password is the first line of this file"});
    return options;
}

logon_t get_logon(const arguments_t& arguments) {
    if (arguments.has("--password-file") && !arguments.has("--user")) {
        throw usage_error_t("--password-file needs --user");
    }
    logon_t logon;
    logon.user = arguments.get("--user");
    if (!logon.user.empty()) {
        logon.password = get_password(logon.user, arguments.get("--password-file"));
    }
    return logon;
}

}  // namespace host
