// The registry as registry.reg holds it.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/types.h"

namespace platform {

struct registry_value {
    std::wstring name;
    DWORD type;
    /// Text is wchar_t text here.
    std::vector<BYTE> data;
};

struct registry_key {
    std::wstring name;
    std::vector<registry_value> values;            // in the order of the file
    std::map<std::wstring, registry_key> subkeys;  // by folded name

    const registry_key* find(const std::wstring& path) const;
    const registry_value* find_value(const std::wstring& name) const;
};

bool is_text_type(DWORD type);

/// The keys below HKEY_LOCAL_MACHINE. Of a file that was cut off, what is whole.
std::shared_ptr<const registry_key> parse_registry(const std::string& content);

}  // namespace platform
