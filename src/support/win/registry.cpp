#include "support/win/registry.h"

#include <exception>
#include <vector>

#include <boost/make_shared.hpp>

#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace win {

namespace {

bool is_absent(LONG status) {
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
}

void check_type(DWORD type, bool expected) {
    if (!expected) {
        throw exc::exc_base_t(
            util::format_message("Unexpected registry type: [%1].", util::to_string(type)));
    }
}

LONG query_value(HKEY key, const std::string& name, DWORD& type, void* data, DWORD& size) {
    return RegQueryValueExA(key, name.c_str(), nullptr, &type, static_cast<BYTE*>(data), &size);
}

LONG query_value(HKEY key, const std::wstring& name, DWORD& type, void* data, DWORD& size) {
    return RegQueryValueExW(key, name.c_str(), nullptr, &type, static_cast<BYTE*>(data), &size);
}

template <typename Text>
bool read_text(HKEY key, const Text& name, Text& out) {
    using char_t = typename Text::value_type;
    DWORD type = 0;
    DWORD size = 0;
    LONG status = query_value(key, name, type, nullptr, size);
    std::vector<char_t> buffer;
    if (status == ERROR_SUCCESS) {
        buffer.assign(size / sizeof(char_t) + 1, char_t(0));
        status = query_value(key, name, type, buffer.data(), size);
    }
    if (is_absent(status)) {
        return false;
    }
    if (status != ERROR_SUCCESS) {
        throw exc::win_sys_exc_t(static_cast<std::uint32_t>(status));
    }
    check_type(type, type == REG_SZ || type == REG_EXPAND_SZ);
    buffer.back() = char_t(0);
    out = buffer.data();
    return true;
}

std::string display(const std::string& name) {
    return name;
}
std::string display(const std::wstring& name) {
    return util::to_ansi_safe(name);
}

// Gives a reader's failure the name of the value.
template <typename Name, typename Read>
auto reading(const Name& name, const Read& read) {
    try {
        return read();
    } catch (const std::exception& e) {
        exc::rethrow_with("Cannot retrieve a registry value. Value name: [%1].", display(name), e);
    }
}

using open_transacted_t = LONG WINAPI(HKEY, LPCWSTR, DWORD, REGSAM, HKEY*, HANDLE, void*);

LONG open_transacted(HKEY parent, const std::wstring& path, const reg_transaction_t& transaction,
                     HKEY& opened) {
    const HMODULE library = LoadLibraryA("Advapi32.dll");
    auto* const open =
        library
            ? reinterpret_cast<open_transacted_t*>(GetProcAddress(library, "RegOpenKeyTransactedW"))
            : nullptr;
    const LONG status =
        open ? open(parent, path.c_str(), 0, KEY_READ, &opened, transaction.handle, nullptr)
             : ERROR_INVALID_FUNCTION;
    if (library) {
        FreeLibrary(library);
    }
    return status;
}

}  // namespace

win_reg_key_t::~win_reg_key_t() {
    if (handle) {
        RegCloseKey(handle);
    }
}

LONG win_reg_key_t::open(HKEY parent, const std::wstring& path) {
    HKEY opened = nullptr;
    const LONG status = transaction ? open_transacted(parent, path, *transaction, opened)
                                    : RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &opened);
    if (status == ERROR_SUCCESS) {
        if (handle) {
            RegCloseKey(handle);
        }
        handle = opened;
        options = 0;
    }
    return status;
}

HKEY* win_reg_key_t::operator&() {
    if (handle) {
        throw exc::exc_base_t(
            "operator& cannot be called because registry key already initialized.");
    }
    return &handle;
}

void win_reg_key_t::check_open() const {
    if (!handle) {
        throw exc::exc_base_t("Registry key object is not initialized.");
    }
}

bool win_reg_key_t::query_string(const std::string& name, std::string& out) const {
    check_open();
    return reading(name, [&] { return read_text(handle, name, out); });
}

bool win_reg_key_t::query_wstring(const std::wstring& name, std::wstring& out) const {
    check_open();
    return reading(name, [&] { return read_text(handle, name, out); });
}

bool win_reg_key_t::get_string(const std::string& name, std::string& out) const {
    return query_string(name, out);
}

bool win_reg_key_t::query_dword(const std::string& name, std::uint32_t& out) const {
    check_open();
    return reading(name, [&] {
        DWORD value = 0;
        DWORD type = 0;
        DWORD size = sizeof value;
        const LONG status = query_value(handle, name, type, &value, size);
        if (is_absent(status)) {
            return false;
        }
        if (status == ERROR_MORE_DATA) {
            check_type(type, type == REG_DWORD);
        }
        if (status != ERROR_SUCCESS) {
            throw exc::win_sys_exc_t(static_cast<std::uint32_t>(status));
        }
        check_type(type, type == REG_DWORD);
        out = value;
        return true;
    });
}

std::uint32_t win_reg_key_t::get_dword(const std::string& name) const {
    std::uint32_t value = 0;
    if (!query_dword(name, value)) {
        try {
            throw exc::win_sys_exc_t(ERROR_FILE_NOT_FOUND);
        } catch (const std::exception& e) {
            exc::rethrow_with("Cannot retrieve a registry value. Value name: [%1].", name, e);
        }
    }
    return value;
}

std::uint32_t win_reg_key_t::query_dword_or(const std::string& name, std::uint32_t fallback) const {
    std::uint32_t value = 0;
    return query_dword(name, value) ? value : fallback;
}

bool win_reg_key_t::query_bool_or(const std::string& name, bool fallback) const {
    return query_dword_or(name, fallback ? 1 : 0) != 0;
}

std::wstring win_reg_key_t::query_wstring_or(const std::wstring& name,
                                             const std::wstring& fallback) const {
    std::wstring value;
    return query_wstring(name, value) ? value : fallback;
}

boost::shared_ptr<win_reg_key_t> open_hklm_subkey(const std::wstring& path, REGSAM access) {
    HKEY opened = nullptr;
    const LONG status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, access, &opened);
    if (status == ERROR_SUCCESS) {
        return boost::make_shared<win_reg_key_t>(opened);
    }
    if (is_absent(status)) {
        return boost::shared_ptr<win_reg_key_t>();
    }
    throw exc::win_sys_exc_t("Failed to open subkey. Path: [%1].", util::to_ansi_safe(path),
                             static_cast<std::uint32_t>(status));
}

win_regoptions_reader_t::win_regoptions_reader_t(const std::wstring& path) {
    try {
        key = open_hklm_subkey(path, KEY_READ | KEY_WOW64_64KEY);
    } catch (const std::exception& e) {
        logging::g_unnamed_log.log_exception(
            "Unable to open registry key with product options. Registry path: %1",
            util::to_ansi_safe(path), e);
    }
}

std::string win_regoptions_reader_t::get_string(const std::string& name,
                                                const std::string& fallback) const {
    try {
        std::string value;
        return key && key->query_string(name, value) ? value : fallback;
    } catch (const std::exception& e) {
        logging::g_unnamed_log.log_exception(
            "Unable to retrieve registry option value, option '%1', type 'string'.", name, e);
        return fallback;
    }
}

}  // namespace win
