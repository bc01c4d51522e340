#include "platform/posix/registry_file.h"

#include <algorithm>
#include <cwchar>

#include "platform/posix/registry.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

constexpr std::size_t npos = std::wstring::npos;

std::wstring decode(const std::string& content) {
    if (content.compare(0, 2, "\xFF\xFE") != 0) {
        return from_utf8(content.compare(0, 3, "\xEF\xBB\xBF") == 0 ? content.substr(3) : content);
    }
    std::wstring text;
    for (std::size_t i = 2; i + 1 < content.size(); i += 2) {
        text += static_cast<wchar_t>(static_cast<BYTE>(content[i]) |
                                     static_cast<BYTE>(content[i + 1]) << 8);
    }
    return text;
}

template <typename Unit>
void append(std::vector<BYTE>& data, Unit unit) {
    const auto* bytes = reinterpret_cast<const BYTE*>(&unit);
    data.insert(data.end(), bytes, bytes + sizeof unit);
}

std::vector<BYTE> text_data(const std::wstring& text) {
    std::vector<BYTE> data;
    for (const wchar_t unit : text) {
        append(data, unit);
    }
    append(data, L'\0');
    return data;
}

// Text in hexadecimal has two bytes for a unit; an odd one at the end stays as it is.
std::vector<BYTE> widened(const std::vector<BYTE>& bytes) {
    std::vector<BYTE> data;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        append(data, static_cast<wchar_t>(bytes[i] | bytes[i + 1] << 8));
    }
    if (bytes.size() % 2) data.push_back(bytes.back());
    return data;
}

// Reads entry after entry and stops at the first that is not whole.
class reg_reader {
  public:
    explicit reg_reader(std::wstring content) : text(std::move(content)) {}
    void read(registry_key& root);

  private:
    void skip_line() {
        const std::size_t end = text.find(L'\n', at);
        at = end == npos ? text.size() : end + 1;
    }
    bool starts_with(const wchar_t* word) const {
        return text.compare(at, std::wcslen(word), word) == 0;
    }
    bool read_key(registry_key& root);
    bool read_value();
    bool read_quoted(std::wstring& result);
    bool read_data(registry_value& value);
    bool read_number(std::size_t max_digits, unsigned long& number);
    bool read_bytes(std::vector<BYTE>& bytes);

    const std::wstring text;
    std::size_t at = 0;
    registry_key* key = nullptr;
};

void reg_reader::read(registry_key& root) {
    for (bool whole = true; whole && at < text.size();) {
        if (text[at] == L'[') {
            whole = read_key(root);
        } else if (text[at] == L'"' || text[at] == L'@') {
            whole = read_value();
        }
        if (whole) skip_line();
    }
}

bool reg_reader::read_key(registry_key& root) {
    const std::size_t line_end = std::min(text.find(L'\n', at), text.size());
    const std::size_t end = text.rfind(L']', line_end);
    if (end == npos || end < at) return line_end < text.size();
    std::wstring path = text.substr(at + 1, end - at - 1);
    at = end;
    key = nullptr;
    const std::wstring hive = L"HKEY_LOCAL_MACHINE";
    if (!same_name(path.substr(0, hive.size()), hive)) return true;
    key = &root;
    for (std::size_t begin = hive.size(); begin < path.size();) {
        const std::size_t next = std::min(path.find(L'\\', ++begin), path.size());
        const std::wstring name = path.substr(begin, next - begin);
        registry_key& child = key->subkeys[fold(name)];
        if (child.name.empty()) child.name = name;
        key = &child;
        begin = next;
    }
    return true;
}

bool reg_reader::read_value() {
    registry_value value = {};
    if (text[at] == L'@') {
        ++at;
    } else if (!read_quoted(value.name)) {
        return false;
    }
    if (at == text.size() || text[at++] != L'=' || !read_data(value)) return false;
    if (!key) return true;
    auto& values = key->values;
    const auto same = std::find_if(values.begin(), values.end(), [&](const registry_value& other) {
        return same_name(other.name, value.name);
    });
    if (same == values.end()) {
        values.push_back(std::move(value));
    } else {
        *same = std::move(value);
    }
    return true;
}

bool reg_reader::read_quoted(std::wstring& result) {
    for (++at; at < text.size(); ++at) {
        if (text[at] == L'"') return ++at, true;
        if (text[at] == L'\\' && at + 1 < text.size()) ++at;
        result += text[at];
    }
    return false;
}

bool reg_reader::read_data(registry_value& value) {
    if (at < text.size() && text[at] == L'"') {
        std::wstring content;
        value.type = REG_SZ;
        if (!read_quoted(content)) return false;
        value.data = text_data(content);
        return true;
    }
    unsigned long number = 0;
    if (starts_with(L"dword:")) {
        at += 6;
        const std::size_t begin = at;
        if (!read_number(8, number)) return false;
        value.type = REG_DWORD;
        append(value.data, static_cast<DWORD>(number));
        return at < text.size() || at - begin == 8;
    }
    if (!starts_with(L"hex")) return false;
    at += 3;
    value.type = REG_BINARY;
    if (at < text.size() && text[at] == L'(') {
        ++at;
        if (!read_number(8, number) || at == text.size() || text[at++] != L')') return false;
        value.type = static_cast<DWORD>(number);
    }
    if (at == text.size() || text[at++] != L':' || !read_bytes(value.data)) return false;
    if (is_text_type(value.type)) value.data = widened(value.data);
    return true;
}

bool reg_reader::read_number(std::size_t max_digits, unsigned long& number) {
    const std::size_t begin = at;
    for (number = 0; at < text.size() && at - begin < max_digits; ++at) {
        const wchar_t digit = text[at] | 0x20;
        const bool decimal = text[at] >= L'0' && text[at] <= L'9';
        if (!decimal && !(digit >= L'a' && digit <= L'f')) break;
        number = number * 16 + (decimal ? text[at] - L'0' : digit - L'a' + 10);
    }
    return at > begin;
}

// Only the end of its line shows that a list of bytes is whole.
bool reg_reader::read_bytes(std::vector<BYTE>& bytes) {
    for (; at < text.size() && text[at] != L'\n'; ++at) {
        unsigned long byte = 0;
        if (text[at] == L'\\') {
            at = std::min(text.find(L'\n', at), text.size() - 1);
        } else if (read_number(2, byte)) {
            bytes.push_back(static_cast<BYTE>(byte));
            --at;
        }
    }
    return at < text.size();
}

}  // namespace

bool is_text_type(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

const registry_key* registry_key::find(const std::wstring& path) const {
    const registry_key* key = this;
    for (std::size_t begin = 0; key && begin < path.size();) {
        const std::size_t end = std::min(path.find(L'\\', begin), path.size());
        const auto found = key->subkeys.find(fold(path.substr(begin, end - begin)));
        key = found == key->subkeys.end() ? nullptr : &found->second;
        begin = end + 1;
    }
    return key;
}

const registry_value* registry_key::find_value(const std::wstring& value_name) const {
    const auto found = std::find_if(values.begin(), values.end(), [&](const registry_value& value) {
        return same_name(value.name, value_name);
    });
    return found == values.end() ? nullptr : &*found;
}

std::shared_ptr<const registry_key> parse_registry(const std::string& content) {
    auto root = std::make_shared<registry_key>();
    reg_reader(decode(content)).read(*root);
    return root;
}

}  // namespace platform
