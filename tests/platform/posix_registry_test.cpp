#include <gtest/gtest.h>

#include "platform/platform.h"
#include "posix_machine.h"

namespace {

const char registry[] =
    "Windows Registry Editor Version 5.00\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor]\r\n"
    "@=\"default\"\r\n"
    "; a comment\r\n"
    "\"zulu\"=\"C:\\\\dir \\\"x\\\"\"\r\n"
    "\"Alpha\"=dword:0000fFfE\r\n"
    "\"empty\"=\"\"\r\n"
    "\"expand\"=hex(2):25,00,\\\r\n  41,00,00,00\r\n"
    "\"multi\"=hex(7):41,00,00,00,42,00,00,00,00,00\r\n"
    "\"quad\"=hex(b):01,00,00,00,00,00,00,80\r\n"
    "\"bytes\"=hex:01,02,ff\r\n"
    "\"\xC3\x89t\xC3\xA9\"=\"\xE2\x82\xAC\"\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor\\beta]\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor\\Alpha\\Deep]\r\n"
    "\"last\"=\"whole\"\r\n";

std::string utf16(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(MultiByteToWideChar(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()),
                                    &wide[0], static_cast<int>(wide.size())));
    std::string result = "\xFF\xFE";
    for (wchar_t unit : wide) {
        result += static_cast<char>(unit & 0xFF);
        result += static_cast<char>(unit >> 8);
    }
    return result;
}

HKEY open_key(const wchar_t* path) {
    HKEY key = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ | KEY_WOW64_64KEY, &key);
    EXPECT_EQ(status == ERROR_SUCCESS, key != nullptr);
    return key;
}

std::wstring text_value(HKEY key, const wchar_t* name, DWORD expected_type) {
    DWORD type = 0, size = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(key, name, nullptr, &type, nullptr, &size));
    EXPECT_EQ(expected_type, type);
    std::wstring text(size / sizeof(wchar_t), L'\0');
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(key, name, nullptr, nullptr,
                                              reinterpret_cast<LPBYTE>(&text[0]), &size));
    return text;
}

template <typename Number>
Number number_value(HKEY key, const wchar_t* name, DWORD expected_type) {
    Number number = 0;
    DWORD type = 0, size = sizeof number;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(key, name, nullptr, &type,
                                              reinterpret_cast<LPBYTE>(&number), &size));
    EXPECT_EQ(expected_type, type);
    return number;
}

}  // namespace

TEST(registry, values_in_both_encodings) {
    using std::wstring;
    for (const std::string& content : {std::string(registry), utf16(registry)}) {
        write_machine_file("registry.reg", content);
        const HKEY key = open_key(L"software\\VENDOR\\");
        EXPECT_EQ(wstring(L"default\0", 8), text_value(key, nullptr, REG_SZ));
        EXPECT_EQ(wstring(L"C:\\dir \"x\"\0", 11), text_value(key, L"ZULU", REG_SZ));
        EXPECT_EQ(wstring(1, L'\0'), text_value(key, L"empty", REG_SZ));
        EXPECT_EQ(wstring(L"%A\0", 3), text_value(key, L"expand", REG_EXPAND_SZ));
        EXPECT_EQ(wstring(L"A\0B\0\0", 5), text_value(key, L"multi", REG_MULTI_SZ));
        EXPECT_EQ(wstring(L"\u20AC\0", 2), text_value(key, L"\u00E9T\u00C9", REG_SZ));
        EXPECT_EQ(0xFFFEu, number_value<DWORD>(key, L"alpha", REG_DWORD));
        EXPECT_EQ(0x8000000000000001u, number_value<ULONGLONG>(key, L"quad", REG_QWORD));
        EXPECT_EQ(0xFF0201u, number_value<DWORD>(key, L"bytes", REG_BINARY));
        char narrow[8];
        DWORD size = sizeof narrow;
        EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, "\xC9t\xE9", nullptr, nullptr,
                                                  reinterpret_cast<LPBYTE>(narrow), &size));
        EXPECT_EQ(std::string("\x80\0", 2), std::string(narrow, size));
        RegCloseKey(key);
    }
}

TEST(registry, enumeration) {
    write_machine_file("registry.reg", registry);
    const HKEY key = open_key(L"SOFTWARE\\Vendor");
    DWORD subkeys = 0, longest_key = 0, values = 0, longest_name = 0, longest_data = 0;
    ASSERT_EQ(ERROR_SUCCESS,
              RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, &longest_key, nullptr,
                               &values, &longest_name, &longest_data, nullptr, nullptr));
    EXPECT_EQ(2u, subkeys);
    EXPECT_EQ(5u, longest_key);
    EXPECT_EQ(9u, values);
    EXPECT_EQ(6u, longest_name);
    EXPECT_EQ(11 * sizeof(wchar_t), longest_data);
    std::wstring names;
    wchar_t name[16];
    for (DWORD i = 0, size = 16;
         RegEnumKeyExW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0;
         ++i, size = 16) {
        names += std::wstring(name, size) + L" ";
    }
    for (DWORD i = 0, size = 16;
         RegEnumValueW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0;
         ++i, size = 16) {
        names += std::wstring(name, size) + L" ";
    }
    EXPECT_EQ(L"Alpha beta  zulu Alpha empty expand multi quad bytes \u00C9t\u00E9 ", names);
    DWORD size = 5;
    EXPECT_EQ(ERROR_MORE_DATA,
              RegEnumKeyExW(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS,
              RegEnumKeyExW(key, 2, name, &size, nullptr, nullptr, nullptr, nullptr));
    BYTE byte = 0;
    size = 1;
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExW(key, L"alpha", nullptr, nullptr, &byte, &size));
    EXPECT_EQ(4u, size);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND,
              RegQueryValueExW(key, L"none", nullptr, nullptr, nullptr, &size));
    HKEY none = nullptr;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(key, L"none", 0, KEY_READ, &none));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND,
              RegOpenKeyExA(HKEY_CURRENT_USER, "Software", 0, KEY_READ, &none));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(key));
}

// Wherever the file ends, what stands whole before the end is there and nothing else is.
TEST(registry, cut_off_anywhere) {
    for (const std::string& whole : {std::string(registry), utf16(registry)}) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            write_machine_file("registry.reg", whole.substr(0, length));
            HKEY key = nullptr;
            if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Vendor", 0, KEY_READ, &key) != 0) {
                continue;
            }
            DWORD size = 0;
            const auto check = [&](const wchar_t* name, DWORD expected) {
                DWORD type = 0;
                const LSTATUS status = RegQueryValueExW(key, name, nullptr, &type, nullptr, &size);
                if (status == ERROR_SUCCESS) {
                    EXPECT_EQ(expected, size) << length;
                }
            };
            check(L"zulu", 11 * sizeof(wchar_t));
            check(L"Alpha", 4);
            check(L"expand", 3 * sizeof(wchar_t));
            check(L"quad", 8);
            check(L"bytes", 3);
            RegCloseKey(key);
        }
    }
    write_machine_file("registry.reg", std::string(registry, sizeof registry - 4));
    const HKEY key = open_key(L"SOFTWARE\\Vendor");
    EXPECT_EQ(0xFFFEu, number_value<DWORD>(key, L"alpha", REG_DWORD));
    RegCloseKey(key);
}
