#include "sandbox/oci/instance.h"

#include <fstream>

#include "oracle/connect/oci.h"
#include "sandbox/native.h"
#include "sandbox/oci/errors.h"
#include "sandbox/oci/functions.h"
#include "sandbox/paths.h"

namespace sandbox::oci {

namespace fs = std::filesystem;

namespace {

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t\r");
    return begin == std::string::npos
               ? ""
               : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

// The account that the calling thread works under, as accounts.ini names it.
std::string current_account(const fs::path& sandbox) {
    std::ifstream file(
        sandbox / "run" /
        (std::to_string(process_id()) + "-" + std::to_string(thread_id()) + ".account"));
    std::string account;
    if (std::getline(file, account)) {
        return account;
    }
    account = ini_value(sandbox / "accounts.ini", "process", "account");
    return account.empty() ? "SYSTEM" : account;
}

bool is_in_dba_group(const fs::path& sandbox) {
    const std::string account = current_account(sandbox);
    bool present = false;
    const std::string groups = ini_value(sandbox / "accounts.ini", account, "groups", &present);
    if (!present) {
        return equal_ignoring_case(account, "SYSTEM");
    }
    std::string list = ",";
    for (const char c : groups) {
        list += c == ' ' ? "" : std::string(1, c);
    }
    return to_upper(list + ",").find(",ORA_DBA,") != std::string::npos;
}

}  // namespace

std::string ini_value(const fs::path& file, const std::string& section, const std::string& key,
                      bool* present) {
    std::ifstream stream(file);
    bool inside = false;
    for (std::string line; std::getline(stream, line);) {
        line = trimmed(line);
        if (!line.empty() && line.front() == '[' && line.back() == ']') {
            inside = equal_ignoring_case(line.substr(1, line.size() - 2), section);
            if (inside && present) {
                *present = true;
            }
        }
        const std::size_t equals = line.find('=');
        if (inside && equals != std::string::npos && trimmed(line.substr(0, equals)) == key) {
            return trimmed(line.substr(equals + 1));
        }
    }
    return "";
}

std::unique_ptr<served_instance_t> served_instance_t::find(const fs::path& sandbox,
                                                           const std::string& sid) {
    const fs::path file = instance_file(sandbox, sid);
    if (sandbox.empty() || sid.empty() || !fs::exists(file)) {
        return nullptr;
    }
    return std::unique_ptr<served_instance_t>(new served_instance_t(sandbox, file));
}

served_instance_t::served_instance_t(const fs::path& directory, const fs::path& file)
    : database(file, database_t::mode::existing),
      sandbox(directory),
      m_status(database,
               "SELECT state, read_only, closed, stopping, startups FROM sandbox_instance") {
    query_t row(database,
                "SELECT sid, home, parameter_folder, kind, version FROM sandbox_instance");
    row.step();
    sid = row.text(0);
    home = row.text(1);
    parameter_folder = row.text(2);
    is_asm = row.text(3) == "ASM";
    major = major_version(row.text(4));
    query_t faults(database, "SELECT target FROM sandbox_fault");
    while (faults.step()) {
        fault_targets.push_back(faults.text(0));
    }
    add_functions(*this);
}

status_t served_instance_t::status() {
    status_t result;
    if (m_status.step()) {
        result = {static_cast<state_t>(m_status.number(0)), m_status.number(1) != 0,
                  m_status.number(2) != 0, m_status.number(3) != 0, m_status.number(4)};
    }
    m_status.reset();
    return result;
}

bool served_instance_t::authenticate(const logon_t& logon, state_t state) {
    if (logon.external) {
        if (!logon.sysdba && !logon.preliminary) {
            fail(1017, "invalid username/password; logon denied");
        }
        if (!logon.sysdba || !is_in_dba_group(sandbox)) {
            fail(1031, "insufficient privileges");
        }
        return false;
    }
    // Without SYSDBA the password is checked against the dictionary, which a started instance has.
    if (state == state_t::down && !logon.sysdba && !logon.preliminary) {
        return false;
    }
    if (logon.password.empty()) {
        fail(1005, "null password given; logon denied");
    }
    query_t user(database, "SELECT password, sysdba, expires FROM sandbox_user WHERE name = ?");
    user.bind(1, to_upper(logon.user));
    const bool known = user.step();
    const bool right = known && (user.text(0) == logon.password ||
                                 (major < 11 && equal_ignoring_case(user.text(0), logon.password)));
    if (!right) {
        fail(1017, "invalid username/password; logon denied");
    }
    if (logon.sysdba ? user.number(1) == 0 : logon.preliminary) {
        fail(1031, "insufficient privileges");
    }
    if (!logon.sysdba && equal_ignoring_case(logon.user, "SYS")) {
        fail(28009, "connection as SYS should be as SYSDBA or SYSOPER");
    }
    return user.number(2) != 0;
}

identity_t served_instance_t::log_on(const logon_t& logon) {
    const status_t now = status();
    const bool password_expires = authenticate(logon, now.state);
    if (!logon.preliminary) {
        if (now.state == state_t::down) {
            fail(1034, "ORACLE not available",
                 ora_line(27101, "shared memory realm does not exist") +
                     (major < 11 ? "" : "Process ID: 0\nSession ID: 0 Serial number: 0\n"));
        }
        if (now.stopping) {
            fail(1089, "immediate shutdown or close in progress - no operations are permitted");
        }
        if (!logon.sysdba && now.state != state_t::open) {
            fail(1033, "ORACLE initialization or shutdown in progress");
        }
    }
    identity_t identity;
    identity.user = logon.sysdba ? "SYS" : to_upper(logon.user);
    identity.sysdba = logon.sysdba;
    identity.preliminary = logon.preliminary;
    identity.password_expires = password_expires;
    identity.startups = now.startups;
    return identity;
}

status_t served_instance_t::status_for(const identity_t& identity) {
    const status_t now = status();
    if (identity.preliminary) {
        fail(1012, "not logged on");
    }
    if (now.state == state_t::down || now.startups != identity.startups) {
        fail(3113, "end-of-file on communication channel");
    }
    return now;
}

bool served_instance_t::has_parameter_file(const char* prefix) const {
    return fs::exists(native(parameter_folder + "\\" + prefix + sid + ".ORA"));
}

fs::path served_instance_t::native(const std::string& path) const {
    return native_path(sandbox, path);
}

void served_instance_t::start_up(const identity_t& identity) {
    if (!identity.sysdba) {
        fail(1031, "insufficient privileges");
    }
    transaction_t transaction(database);
    if (!identity.preliminary || status().state != state_t::down) {
        fail(1081, "cannot start already-running ORACLE - shut it down first");
    }
    if (!has_parameter_file("SPFILE") && !has_parameter_file("INIT")) {
        fail(1078, "failure in processing system parameters",
             "LRM-00109: could not open parameter file '" +
                 to_upper(parameter_folder + "\\INIT" + sid) + ".ORA'\n");
    }
    enter_state(database, state_t::started, false);
    transaction.commit();
}

void served_instance_t::shut_down(const identity_t& identity, std::uint32_t mode) {
    const status_t now = status_for(identity);
    if (!identity.sysdba) {
        fail(1031, "insufficient privileges");
    }
    switch (mode) {
        case OCI_DBSHUTDOWN_TRANSACTIONAL:
        case OCI_DBSHUTDOWN_TRANSACTIONAL_LOCAL:
        case OCI_DBSHUTDOWN_IMMEDIATE:
            database.execute("UPDATE sandbox_instance SET stopping = 1");
            return;
        case OCI_DBSHUTDOWN_FINAL:
            if (now.state != state_t::started) {
                fail(1106, "database must be closed before dismounting");
            }
            break;
        case OCI_DBSHUTDOWN_ABORT:
            break;
        default:
            fail(24300, "bad value for mode");
    }
    transaction_t transaction(database);
    enter_state(database, state_t::down, false);
    transaction.commit();
}

}  // namespace sandbox::oci
