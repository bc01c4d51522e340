#include "platform/posix/registry.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/posix/handles.h"
#include "platform/posix/registry_file.h"
#include "platform/posix/sandbox.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

class key_object : public object {
  public:
    key_object(std::shared_ptr<const registry_key> tree, const registry_key* opened)
        : object("keys"), key(opened), root(std::move(tree)) {}
    const registry_key* const key;
    const std::shared_ptr<const registry_key> root;  // keeps `key`
};

parsed_file<registry_key> g_registry("registry.reg", parse_registry);
const registry_key no_keys;

std::shared_ptr<key_object> find_key(HKEY key) {
    if (key == HKEY_LOCAL_MACHINE || key == HKEY_CURRENT_USER) {
        const auto root = g_registry.get();
        const bool machine = key == HKEY_LOCAL_MACHINE;
        return std::make_shared<key_object>(root, machine ? root.get() : &no_keys);
    }
    return find<key_object>(reinterpret_cast<HANDLE>(key));
}

LSTATUS open_key(HKEY parent, const std::wstring& path, PHKEY result) {
    const auto target = find_key(parent);
    if (!target) return ERROR_INVALID_HANDLE;
    if (!path.empty() && path[0] == L'\\') return ERROR_BAD_PATHNAME;
    const registry_key* key = target->key->find(path);
    if (!key) return ERROR_FILE_NOT_FOUND;
    *result = reinterpret_cast<HKEY>(add_handle(std::make_shared<key_object>(target->root, key)));
    return ERROR_SUCCESS;
}

// A name goes out with its NUL, its length without.
LSTATUS give_name(const std::wstring& name, LPWSTR buffer, LPDWORD size) {
    if (*size <= name.size()) return ERROR_MORE_DATA;
    std::copy_n(name.c_str(), name.size() + 1, buffer);
    *size = static_cast<DWORD>(name.size());
    return ERROR_SUCCESS;
}

LSTATUS give_data(const std::vector<BYTE>& content, LPBYTE data, LPDWORD size) {
    if (!size) return data ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
    const DWORD room = *size;
    *size = static_cast<DWORD>(content.size());
    if (!data) return ERROR_SUCCESS;
    if (room < content.size()) return ERROR_MORE_DATA;
    std::copy(content.begin(), content.end(), data);
    return ERROR_SUCCESS;
}

// A text that was written without its NUL gets one where there is room for it.
template <typename Unit>
void end_text(BYTE* data, DWORD size, DWORD room) {
    Unit last = 0;
    if (size == 0 || size % sizeof last || room < size + sizeof last) return;
    std::memcpy(&last, data + size - sizeof last, sizeof last);
    if (last) std::fill_n(data + size, sizeof last, BYTE{0});
}

LSTATUS query(HKEY key, const std::wstring& name, LPDWORD type, LPBYTE data, LPDWORD size,
              bool ansi) {
    const auto target = find_key(key);
    if (!target) return ERROR_INVALID_HANDLE;
    const registry_value* value = target->key->find_value(name);
    if (!value) return ERROR_FILE_NOT_FOUND;
    if (type) *type = value->type;
    if (!is_text_type(value->type)) return give_data(value->data, data, size);
    const DWORD room = size ? *size : 0;
    if (!ansi) {
        const LSTATUS given = give_data(value->data, data, size);
        if (given == ERROR_SUCCESS && data) end_text<wchar_t>(data, *size, room);
        return given;
    }
    std::wstring text(value->data.size() / sizeof(wchar_t), L'\0');
    if (!text.empty()) std::memcpy(&text[0], value->data.data(), text.size() * sizeof(wchar_t));
    const std::string narrow = narrow_ansi(text);
    const LSTATUS given = give_data(std::vector<BYTE>(narrow.begin(), narrow.end()), data, size);
    if (given == ERROR_SUCCESS && data) end_text<char>(data, *size, room);
    return given;
}

template <typename Range, typename Measure>
DWORD longest(const Range& range, Measure measure) {
    std::size_t result = 0;
    for (const auto& entry : range) {
        result = std::max<std::size_t>(result, measure(entry));
    }
    return static_cast<DWORD>(result);
}

template <typename Target, typename Value>
void give(Target* target, Value value) {
    if (target) *target = static_cast<Target>(value);
}

}  // namespace

}  // namespace platform

using namespace platform;

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR path, DWORD, REGSAM, PHKEY result) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    return open_key(key, path ? widen_ansi(path) : L"", result);
}

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR path, DWORD, REGSAM, PHKEY result) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    return open_key(key, path ? path : L"", result);
}

LSTATUS RegOpenKeyTransactedW(HKEY key, LPCWSTR path, DWORD, REGSAM, PHKEY result, HANDLE, PVOID) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    return open_key(key, path ? path : L"", result);
}

LSTATUS RegCloseKey(HKEY key) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    if (key == HKEY_LOCAL_MACHINE || key == HKEY_CURRENT_USER) return ERROR_SUCCESS;
    return remove_handle(reinterpret_cast<HANDLE>(key)) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR class_name, LPDWORD class_size, LPDWORD, LPDWORD subkeys,
                         LPDWORD longest_subkey, LPDWORD longest_class, LPDWORD values,
                         LPDWORD longest_name, LPDWORD longest_data, LPDWORD security_size,
                         PFILETIME last_write) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    const auto target = find_key(key);
    if (!target) return ERROR_INVALID_HANDLE;
    const registry_key& found = *target->key;
    give(subkeys, found.subkeys.size());
    give(longest_subkey,
         longest(found.subkeys, [](const auto& entry) { return entry.second.name.size(); }));
    give(values, found.values.size());
    give(longest_name, longest(found.values, [](const auto& value) { return value.name.size(); }));
    give(longest_data, longest(found.values, [](const auto& value) { return value.data.size(); }));
    give(longest_class, 0);
    give(security_size, 0);
    if (class_name && class_size && *class_size > 0) *class_name = L'\0';
    give(class_size, 0);
    if (last_write) *last_write = {};
    return ERROR_SUCCESS;
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD,
                      LPWSTR class_name, LPDWORD class_size, PFILETIME last_write) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    const auto target = find_key(key);
    if (!target) return ERROR_INVALID_HANDLE;
    const auto& subkeys = target->key->subkeys;
    if (index >= subkeys.size()) return ERROR_NO_MORE_ITEMS;
    if (class_name && class_size && *class_size > 0) *class_name = L'\0';
    give(class_size, 0);
    if (last_write) *last_write = {};
    return give_name(std::next(subkeys.begin(), index)->second.name, name, name_size);
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD, LPDWORD type,
                      LPBYTE data, LPDWORD data_size) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    const auto target = find_key(key);
    if (!target) return ERROR_INVALID_HANDLE;
    if (index >= target->key->values.size()) return ERROR_NO_MORE_ITEMS;
    const registry_value& value = target->key->values[index];
    give(type, value.type);
    const LSTATUS named = give_name(value.name, name, name_size);
    const LSTATUS given = give_data(value.data, data, data_size);
    return named != ERROR_SUCCESS ? named : given;
}

LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD, LPDWORD type, LPBYTE data,
                         LPDWORD data_size) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    return query(key, name ? widen_ansi(name) : L"", type, data, data_size, true);
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data,
                         LPDWORD data_size) {
    if (failing(__func__)) return static_cast<LSTATUS>(GetLastError());
    return query(key, name ? name : L"", type, data, data_size, false);
}
