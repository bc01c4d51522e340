// The file that holds the registry here.
#include <gtest/gtest.h>

#include "scratch.h"

namespace {

const char contents[] =
    "Windows Registry Editor Version 5.00\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor]\r\n"
    "@=\"default\"\r\n"
    "; a comment\r\n"
    "\"zulu\"=\"C:\\\\dir \\\"x\\\"\"\r\n"
    "\"Alpha\"=dword:0000fFfE\r\n"
    "\"expand\"=hex(2):25,00,\\\r\n  41,00,00,00\r\n"
    "\"quad\"=hex(b):01,00,00,00,00,00,00,80\r\n"
    "\"bytes\"=hex:01,02,ff\r\n"
    "\"\xC3\x89t\xC3\xA9\"=\"\xE2\x82\xAC\"\r\n\r\n"
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

const struct {
    const wchar_t* name;
    DWORD size;
} values[] = {{nullptr, 8 * sizeof(wchar_t)},
              {L"zulu", 11 * sizeof(wchar_t)},
              {L"Alpha", 4},
              {L"expand", 3 * sizeof(wchar_t)},
              {L"quad", 8},
              {L"bytes", 3},
              {L"\u00C9t\u00E9", 2 * sizeof(wchar_t)}};

// How many of the values are there; each of them is whole.
int count_values(const std::string& content) {
    write_file(machine().folder / "registry.reg", content);
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Vendor", 0, KEY_READ, &key) != 0) return 0;
    int count = 0;
    for (const auto& value : values) {
        DWORD size = 0;
        if (RegQueryValueExW(key, value.name, nullptr, nullptr, nullptr, &size) == 0) {
            EXPECT_EQ(value.size, size) << content.size();
            ++count;
        }
    }
    RegCloseKey(key);
    return count;
}

}  // namespace

// Wherever the file ends, what stands whole before the end is there and nothing else is.
TEST(registry_file, cut_off_anywhere) {
    for (const std::string& whole : {std::string(contents), utf16(contents)}) {
        int before = 0;
        for (std::size_t length = 0; length <= whole.size(); ++length) {
            const int now = count_values(whole.substr(0, length));
            EXPECT_TRUE(now == before || now == before + 1) << length;
            before = now;
        }
        EXPECT_EQ(7, before);
    }
}
