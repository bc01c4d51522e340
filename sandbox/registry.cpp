#include "sandbox/registry.h"

#include <iomanip>
#include <sstream>

namespace sandbox {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '\\' || c == '"') {
            result += '\\';
        }
        result += c;
    }
    return result + "\"";
}

std::string hexadecimal(const std::string& bytes) {
    std::ostringstream stream;
    stream << std::hex << std::setfill('0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        stream << (i == 0 ? "" : ",") << std::setw(2)
               << static_cast<unsigned>(static_cast<unsigned char>(bytes[i]));
    }
    return stream.str();
}

// UTF-16LE. The text is well-formed UTF-8, and of the basic plane.
std::string to_utf16(const std::string& text) {
    std::string units;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i++]);
        unsigned code = lead < 0x80 ? lead : lead < 0xE0 ? lead & 0x1Fu : lead & 0x0Fu;
        for (int rest = lead < 0x80   ? 0
                        : lead < 0xE0 ? 1
                                      : 2;
             rest > 0 && i < text.size(); --rest) {
            code = code << 6 | (static_cast<unsigned char>(text[i++]) & 0x3Fu);
        }
        units += static_cast<char>(code & 0xFF);
        units += static_cast<char>(code >> 8);
    }
    return units;
}

std::string to_data(const registry_value_t& value) {
    switch (value.kind) {
        case value_kind::expandable_text:
            return "hex(2):" + hexadecimal(to_utf16(value.text) + std::string(2, '\0'));
        case value_kind::bytes:
            return "hex:" + hexadecimal(value.text);
        case value_kind::number: {
            std::ostringstream stream;
            stream << "dword:" << std::hex << std::setw(8) << std::setfill('0') << value.number;
            return stream.str();
        }
        default:
            return quoted(value.text);
    }
}

}  // namespace

std::string to_reg_sections(const registry_t& registry) {
    std::string sections;
    for (const auto& [key, values] : registry) {
        sections += "\r\n[HKEY_LOCAL_MACHINE" + (key.empty() ? "" : "\\" + key) + "]\r\n";
        for (const auto& [name, value] : values) {
            sections += (name.empty() ? "@" : quoted(name)) + "=" + to_data(value) + "\r\n";
        }
    }
    return to_utf16(sections);
}

std::string to_reg_file(const registry_t& registry) {
    return to_utf16("\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n") +
           to_reg_sections(registry);
}

}  // namespace sandbox
