#include "sandbox/builder.h"

#include <fstream>
#include <stdexcept>

#include "sandbox/instance_tables.h"
#include "sandbox/native.h"

namespace sandbox {

namespace fs = std::filesystem;

namespace {

void write_file(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush()) {
        throw std::runtime_error("Cannot write " + path.u8string());
    }
}

std::string to_ini_file(const std::map<std::string, std::map<std::string, std::string>>& ini) {
    std::string file;
    for (const auto& [section, values] : ini) {
        file += "[" + section + "]\n";
        for (const auto& [key, value] : values) {
            file += key + "=" + value + "\n";
        }
        file += "\n";
    }
    return file;
}

std::string key_of(const home_t& home) {
    return "SOFTWARE\\ORACLE\\" + (home.key.empty() ? "KEY_" + home.name : home.key);
}

// Some bytes that differ from file to file, as many as asked for.
std::string content_of(const std::string& name, std::uint64_t bytes) {
    std::string content = name + "\n";
    while (content.size() < bytes) {
        content += content.substr(0, bytes - content.size());
    }
    content.resize(bytes);
    return content;
}

}  // namespace

server_t::server_t(const fs::path& directory) : m_directory(directory) {
    fs::create_directories(m_directory / "oracle");
    fs::create_directories(m_directory / "run");
    fs::create_directories(drive_folder(m_directory, 'c') / "Windows/Temp");
    fs::create_directories(drive_folder(m_directory, 'c') / "ProgramData");
}

void server_t::set_host(const std::string& key, const std::string& value) {
    m_host["host"][key] = value;
}

void server_t::set_account(const account_t& account) {
    auto& section = m_accounts[account.name];
    section["password"] = account.password;
    section["groups"] = account.groups;
    if (!account.upn.empty()) {
        section["upn"] = account.upn;
    }
}

void server_t::set_process_account(const std::string& name) {
    m_accounts["process"]["account"] = name;
}

void server_t::set_registry(const std::string& key, const std::string& name,
                            const registry_value_t& value) {
    m_registry[key][name] = value;
}

void server_t::set_registry(const std::string& key, const std::string& name,
                            const std::string& text) {
    set_registry(key, name, registry_value_t{value_kind::text, text, 0});
}

void server_t::set_registry(const std::string& key, const std::string& name, std::uint32_t number) {
    set_registry(key, name, registry_value_t{value_kind::number, "", number});
}

void server_t::remove_registry(const std::string& key) {
    m_registry.erase(key);
}

void server_t::add_file(const std::string& path, const std::string& content) {
    write_file(native_path(m_directory, path), content);
}

void server_t::add_home(const home_t& home) {
    auto& key = m_registry[key_of(home)];
    key["ORACLE_HOME"].text = home.path;
    key["ORACLE_HOME_NAME"].text = home.name;
    key["ORACLE_BASE"].text = home.base;
    key["ORACLE_HOME_KEY"].text = key_of(home);
    key["ORACLE_GROUP_NAME"].text = "Oracle - " + home.name;
    key["NLS_LANG"].text = "AMERICAN_AMERICA.WE8MSWIN1252";
    key["RDBMS_CONTROL"].text = home.path + "\\DATABASE";

    add_file(home.path + "\\bin\\oracle.exe");
    fs::create_directories(native_path(m_directory, home.path + "\\database"));
    fs::create_directories(native_path(m_directory, home.base + "\\database"));
    if (home.with_orabasehome) {
        write_program(native_path(m_directory, home.path + "\\bin\\orabasehome.exe"),
                      home.read_only ? home.base : home.path);
    }
    if (home.with_srvctl) {
        write_command_file(native_path(m_directory, home.path + "\\bin\\srvctl.bat"),
                           {"Database unique name: %db%", "Database name: %db%",
                            "Oracle home: " + home.path, "Oracle user: nt authority\\system",
                            "Password file: " + home.password_location, "Domain:"});
    }
}

void server_t::add_instance(const home_t& home, const instance_t& instance) {
    const instance_t complete = complete_instance(instance);
    for (const asm_group_t& group : complete.asm_groups) {
        if (!group.name.empty()) {
            fs::create_directories(native_path(m_directory, "+" + group.name));
        }
    }
    add_files(home, complete);
    if (complete.with_service) {
        add_service(home, complete);
    }
    const auto host = m_host["host"].find("computer_name");
    write_instance(m_directory, home, complete,
                   host == m_host["host"].end() ? "ORASRV" : host->second);
}

void server_t::add_service(const home_t& home, const instance_t& instance) {
    const std::string name =
        (instance.is_asm ? "OracleASMService" : "OracleService") + instance.sid;
    auto& key = m_registry["SYSTEM\\CurrentControlSet\\Services\\" + name];
    key["DisplayName"].text = name;
    key["ObjectName"].text = "LocalSystem";
    key["ImagePath"] = {value_kind::expandable_text,
                        instance.image_path.empty()
                            ? home.path + "\\bin\\ORACLE.EXE " + instance.sid
                            : instance.image_path,
                        0};
    key["Type"] = {value_kind::number, "", 0x10};
    key["Start"] = {value_kind::number, "", 2};
    if (!instance.autostart.empty()) {
        m_registry[key_of(home)]["ORA_" + instance.sid + "_AUTOSTART"] = {
            value_kind::expandable_text, instance.autostart, 0};
    }
}

void server_t::add_files(const home_t& home, const instance_t& instance) {
    const std::string folder = parameter_folder(home);
    if (instance.with_spfile) {
        add_file(folder + "\\SPFILE" + instance.sid + ".ORA", content_of(instance.sid, 3584));
    }
    if (instance.with_init_file) {
        add_file(folder + "\\init" + instance.sid + ".ora",
                 "db_name='" + instance.db_name + "'\r\n");
    }
    if (instance.with_password_file) {
        add_file(folder + "\\PWD" + instance.sid + ".ora", content_of(instance.sid, 2048));
    }
    if (instance.with_files) {
        for (const auto* files : {&instance.data_files, &instance.control_files}) {
            for (const file_t& file : *files) {
                add_file(file.name, content_of(file.name, 8192));
            }
        }
        for (const redo_group_t& group : instance.redo_groups) {
            for (const std::string& member : group.members) {
                add_file(member, content_of(member, 8192));
            }
        }
    }
    for (const archived_log_t& log : instance.archived_logs) {
        if (log.with_file && log.status == "A") {
            add_file(log.name, content_of(log.name, log.blocks * log.block_size));
        }
    }
}

void server_t::write() const {
    write_file(m_directory / "registry.reg", to_reg_file(m_registry));
    write_file(m_directory / "host.ini", to_ini_file(m_host));
    write_file(m_directory / "accounts.ini", to_ini_file(m_accounts));
}

}  // namespace sandbox
