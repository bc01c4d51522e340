#include "oracle/discovery/homes.h"

#include <algorithm>
#include <cwctype>
#include <exception>
#include <string>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "config/agent_config.h"
#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/process/environment_variable.h"
#include "support/process/execute.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"
#include "support/win/registry.h"

namespace specific::oracle {

using logging::g_oralib_log;
using win::win_reg_key_t;

namespace {

constexpr DWORD longest_key_name = 255;

struct home_t {
    std::wstring home;
    std::wstring rdbmsControl;
    std::wstring homeName;
    std::wstring baseHome;
    bool autostart = true;
};

struct service_t {
    std::wstring sid;
    std::wstring imagePath;
    bool isAsm = false;
};

std::wstring uppercase(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) {
        return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(c)));
    });
    return text;
}

bool equals_ignoring_case(const std::wstring& a, const std::wstring& b) {
    return uppercase(a) == uppercase(b);
}

bool begins_with(const std::wstring& text, const wchar_t* prefix) {
    return text.rfind(prefix, 0) == 0;
}

bool is_text_type(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ;
}

// An absent value, a longer one and one of another type all count as an empty text.
std::wstring read_text(const win_reg_key_t& key, const std::wstring& name) {
    try {
        wchar_t buffer[260] = {};
        DWORD type = 0;
        DWORD size = sizeof buffer;
        const LONG status = RegQueryValueExW(key.get(), name.c_str(), nullptr, &type,
                                             reinterpret_cast<BYTE*>(buffer), &size);
        if (status != ERROR_SUCCESS || !is_text_type(type) || size % sizeof(wchar_t) != 0) {
            return std::wstring();
        }
        const std::wstring text(buffer, size / sizeof(wchar_t));
        const std::wstring::size_type end = text.find(L'\0');
        return end == std::wstring::npos ? std::wstring() : text.substr(0, end);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("COracleHomes: failed to get reg key value.", e);
    }
}

std::vector<std::wstring> list_subkeys(const win_reg_key_t& key) {
    try {
        DWORD count = 0;
        LONG status = RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, &count, nullptr,
                                       nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        if (status != ERROR_SUCCESS) {
            throw exc::win_sys_exc_t("Failed to query info from oracle reg key",
                                     static_cast<DWORD>(status));
        }
        std::vector<std::wstring> names;
        for (DWORD i = 0; i < count; ++i) {
            wchar_t name[longest_key_name + 1] = {};
            DWORD length = longest_key_name + 1;
            status = RegEnumKeyExW(key.get(), i, name, &length, nullptr, nullptr, nullptr, nullptr);
            if (status == ERROR_NO_MORE_ITEMS) {
                break;
            }
            if (status != ERROR_SUCCESS) {
                throw exc::win_sys_exc_t("Failed to enum oracle home reg key",
                                         static_cast<DWORD>(status));
            }
            names.emplace_back(name, length);
        }
        return names;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("COracleHomes: failed to enum reg subkeys.", e);
    }
}

bool is_autostart_option(const std::wstring& name) {
    static const std::wstring suffix = L"_AUTOSTART";
    const std::wstring upper = uppercase(name);
    const std::wstring::size_type at = upper.find(suffix);
    return begins_with(upper, L"ORA_") && at != std::wstring::npos &&
           at + suffix.size() == upper.size();
}

DWORD count_values(const win_reg_key_t& key) {
    DWORD count = 0;
    const LONG status = RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, nullptr, nullptr,
                                         nullptr, &count, nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) {
        throw exc::win_sys_exc_t("Failed to query info from oracle reg key",
                                 static_cast<DWORD>(status));
    }
    return count;
}

// One flag for the whole home, from the first option that the registry lists.
bool read_autostart(const win_reg_key_t& key) {
    if (!COracleAgentConfig::instance().UseOracleAutostartOption()) {
        return true;
    }
    try {
        const DWORD count = count_values(key);
        constexpr DWORD name_size = 16383;
        std::wstring buffer(name_size, L'\0');
        for (DWORD i = 0; i < count; ++i) {
            DWORD length = name_size;
            DWORD type = 0;
            const LONG status = RegEnumValueW(key.get(), i, buffer.data(), &length, nullptr, &type,
                                              nullptr, nullptr);
            if (status == ERROR_NO_MORE_ITEMS && i >= count_values(key)) {
                break;  // one was deleted meanwhile
            }
            if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA) {
                throw exc::win_sys_exc_t("Failed to enum oracle home reg key",
                                         static_cast<DWORD>(status));
            }
            const std::wstring name = buffer.substr(0, length);
            if (is_text_type(type) && is_autostart_option(name)) {
                // Oracle writes TRUE and FALSE; parse_bool knows the words in lower case alone.
                std::string value = util::to_ansi(read_text(key, name));
                std::transform(value.begin(), value.end(), value.begin(), [](char c) {
                    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
                });
                return util::parse_bool(value);
            }
        }
        return true;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("COracleHomes: failed to enum reg subkeys.", e);
    }
}

std::vector<home_t> find_homes() {
    try {
        std::vector<home_t> homes;
        win_reg_key_t root;
        if (root.open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\ORACLE") != ERROR_SUCCESS) {
            return homes;
        }
        for (const std::wstring& name : list_subkeys(root)) {
            win_reg_key_t key;
            if (!begins_with(uppercase(name), L"KEY_") ||
                key.open(root.get(), name) != ERROR_SUCCESS) {
                continue;
            }
            home_t home;
            home.home = read_text(key, L"ORACLE_HOME");
            home.baseHome = read_text(key, L"ORACLE_BASE");
            home.rdbmsControl = read_text(key, L"RDBMS_CONTROL");
            home.homeName = read_text(key, L"ORACLE_HOME_NAME");
            home.autostart = read_autostart(key);
            homes.push_back(home);
        }
        return homes;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("COracleHomes: failed to find oracle homes.", e);
    }
}

// The command line of a service: the executable, a blank, the SID. The first blank counts even
// inside quotes.
service_t parse_image_path(const std::wstring& command, std::wstring::size_type blank) {
    service_t service;
    service.imagePath = command.substr(0, blank);
    service.sid = command.substr(blank + 1);  // without a blank npos + 1, which is the whole
    if (service.imagePath.size() > 2 && service.imagePath.front() == L'"') {
        service.imagePath.erase(0, 1);
        if (service.imagePath.back() == L'"') {
            service.imagePath.pop_back();
        }
    }
    return service;
}

std::vector<service_t> find_services() {
    try {
        std::vector<service_t> services;
        win_reg_key_t root;
        if (root.open(HKEY_LOCAL_MACHINE, L"SYSTEM\\CURRENTCONTROLSET\\SERVICES") !=
            ERROR_SUCCESS) {
            return services;
        }
        for (const std::wstring& name : list_subkeys(root)) {
            const std::wstring upper = uppercase(name);
            const bool is_asm = begins_with(upper, L"ORACLEASMSERVICE");
            win_reg_key_t key;
            if ((!is_asm && !begins_with(upper, L"ORACLESERVICE")) ||
                key.open(root.get(), name) != ERROR_SUCCESS) {
                continue;
            }
            const std::wstring command = read_text(key, L"IMAGEPATH");
            const std::wstring::size_type blank = command.find(L' ');
            if (blank == 0) {
                continue;
            }
            service_t service = parse_image_path(command, blank);
            service.isAsm = is_asm;
            services.push_back(service);
        }
        return services;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("COracleHomes: failed to find oracle services.", e);
    }
}

// A read-only home is one whose program names another folder than the home itself.
bool read_is_read_only(const SOracleSid& instance) {
    try {
        const std::wstring program =
            win::join_path(win::join_path(instance.home, L"bin"), L"orabasehome.exe");
        process_subsystem::SCommand command =
            process_subsystem::make_command(util::to_ansi(program));
        command.environment.emplace_back("ORACLE_HOME", util::to_ansi(instance.home));
        command.environment.emplace_back("ORACLE_SID", util::to_ansi(instance.sid));
        std::string output;
        process_subsystem::execute(command, output);
        const std::wstring base = util::from_ansi(boost::trim_copy(output));
        if (base.empty()) {
            g_oralib_log.warning("[%1] told no folder, and so the home counts as read-only",
                                 util::to_ansi_safe(program));
        }
        const bool read_only = !equals_ignoring_case(base, instance.home);
        g_oralib_log.line("Oracle home [%1] is read-only: [%2]", util::to_ansi_safe(instance.home),
                          util::to_string(read_only));
        return read_only;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Unable to check if Oracle home is read only", e);
        return false;
    }
}

// What an exclusion calls a home is the home's name.
bool is_excluded(const SOracleSid& instance,
                 const std::vector<CExploreDbConfig::SExclusion>& exclusions) {
    return std::any_of(exclusions.begin(), exclusions.end(), [&](const auto& exclusion) {
        return equals_ignoring_case(exclusion.sid, instance.sid) &&
               (exclusion.home.empty() || equals_ignoring_case(exclusion.home, instance.homeName));
    });
}

std::wstring server_program(const home_t& home) {
    std::wstring path = home.home;
    if (path.empty() || path.back() != L'\\') {
        path += L'\\';
    }
    return uppercase(path + L"BIN\\ORACLE.EXE");
}

std::vector<SOracleSid> match(const std::vector<home_t>& homes,
                              const std::vector<service_t>& services,
                              const std::vector<CExploreDbConfig::SExclusion>& exclusions) {
    try {
        std::vector<SOracleSid> instances;
        for (const home_t& home : homes) {
            const std::wstring program = server_program(home);
            for (const service_t& service : services) {
                if (uppercase(service.imagePath) != program) {
                    continue;
                }
                SOracleSid instance{service.sid,   home.home,      home.homeName, home.baseHome,
                                    service.isAsm, home.autostart, false};
                instance.isReadOnly = read_is_read_only(instance);
                g_oralib_log.line("Found oracle instance: %1. Is ASM: %2, is autostart: %3",
                                  util::to_ansi_safe(instance.sid), util::to_string(instance.isAsm),
                                  util::to_string(instance.autostart));
                if (is_excluded(instance, exclusions)) {
                    g_oralib_log.line("Database with sid [%1] Home [%2] excluded from processing",
                                      util::to_ansi_safe(instance.sid),
                                      util::to_ansi_safe(instance.homeName));
                    continue;
                }
                instances.push_back(instance);
            }
        }
        return instances;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("COracleHomes: failed to find oracle instances.", e);
    }
}

}  // namespace

COracleHomes::COracleHomes(std::vector<SOracleSid>& instances,
                           const std::vector<CExploreDbConfig::SExclusion>& exclusions) {
    try {
        instances.clear();
        const std::vector<home_t> homes = find_homes();
        const std::vector<service_t> services = find_services();
        instances = match(homes, services, exclusions);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to create oracle homes.", e);
    }
}

}  // namespace specific::oracle
