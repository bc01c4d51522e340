#include "support/logging/start.h"

#include <algorithm>
#include <cstdio>
#include <exception>

#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "platform/system.h"
#include "support/exc/exc.h"
#include "support/host/os_name.h"
#include "support/host/product_options.h"
#include "support/logging/stdout_log_file.h"
#include "support/logging/win_log_file.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"
#include "support/win/registry.h"

namespace logging {

namespace {

bool g_not_verbose = true;

bool is_separator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

bool is_absolute(const std::wstring& path) {
    return is_separator(path.front()) || (path.size() > 1 && path[1] == L':');
}

// A setting that cannot be read is as if it were not set; `why` has the reason.
std::wstring log_directory(std::string& why) {
    try {
        const auto key = win::open_hklm_subkey(util::SProductOptions::instance().registryPath,
                                               KEY_READ | KEY_WOW64_64KEY);
        const std::wstring set = key ? key->query_wstring_or(L"LogDirectory", L"") : L"";
        if (!set.empty()) {
            return set;
        }
    } catch (const std::exception& e) {
        why = e.what();
    }
    try {
        return win::get_common_appdata_folder() + L"\\Tarny\\ClientVault\\";
    } catch (const std::exception& e) {
        why = e.what();
        return std::wstring();
    }
}

std::wstring default_path(const std::wstring& name, std::string& why) {
    if (name.empty() || is_absolute(name)) {
        return name;
    }
    std::wstring path = log_directory(why);
    if (!path.empty() && !is_separator(path.back())) {
        path += L'\\';
    }
    return path + name;
}

std::wstring find_path(const std::vector<std::wstring>& args, const std::wstring& name,
                       std::string& why) {
    const auto option = std::find(args.begin(), args.end(), L"-log");
    return option != args.end() && option + 1 != args.end() ? *(option + 1)
                                                            : default_path(name, why);
}

void write_module_lines() {
    char path[260] = {};
    if (GetModuleFileNameA(nullptr, path, sizeof path) == 0) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t(
            "Fully-qualified path for the executable file cannot be retrieved.", error);
    }
    g_unnamed_log.line("Path to the executable module:%1", path);
    std::string version;
    for (const std::uint32_t part : platform::module_version()) {
        version += (version.empty() ? "" : ".") + util::to_string(part);
    }
    g_unnamed_log.line("Module version:%1", version);
}

}  // namespace

boost::shared_ptr<log_t> get_log(const std::wstring& log_name) {
    g_unnamed_log.log()->set_name(log_name);
    return g_unnamed_log.log();
}

void start_log(const std::vector<std::wstring>& args) {
    const boost::shared_ptr<log_t>& log = g_unnamed_log.log();
    std::string why;
    const std::wstring path = find_path(args, log->get_name(), why);
    std::wstring taken = path;
    g_not_verbose = std::find(args.begin(), args.end(), L"-verbose") == args.end();

    std::printf("LOG: Initializing log file ...\n");
    std::fflush(stdout);
    if (log->is_installed()) {
        // A start that failed after this point is being tried again: the log is at hand.
    } else if (path.empty()) {
        log->install(boost::make_shared<receiver::stdout_log_file_t>());
    } else {
        const auto file = win::open_log_file(path, &why);
        taken = file->get_path();
        log->install(file);
    }

    g_unnamed_log.line(std::string());
    g_unnamed_log.line(
        "=============================================================================");
    g_unnamed_log.line(std::string("{"));
    const std::uint32_t depth = get_depth();
    set_depth(depth + 1);
    try {
        write_module_lines();
        g_unnamed_log.line("OS version: %1", util::GetOsName());
    } catch (const std::exception&) {
        set_depth(depth);
        throw;
    }
    set_depth(depth);
    g_unnamed_log.line(std::string("}"));
    if (!why.empty()) {
        g_unnamed_log.warning("The log is [%1], and not where it was asked for:\n%2",
                              util::to_ansi_safe(taken), why);
    }
}

}  // namespace logging
