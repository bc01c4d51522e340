#include <map>

#include <gtest/gtest.h>

#include "scratch.h"

namespace {

constexpr DWORD unit = sizeof(wchar_t);

const std::wstring long_name(255, L'n');

std::string sections() {
    return "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor]\r\n"
           "@=\"default\"\r\n"
           "\"zulu\"=\"C:\\\\dir \\\"x\\\"\"\r\n"
           "\"Alpha\"=dword:0000fFfE\r\n"
           "\"empty\"=\"\"\r\n"
           "\"expand\"=hex(2):25,00,\\\r\n  41,00,00,00\r\n"
           "\"multi\"=hex(7):41,00,00,00,42,00,00,00,00,00\r\n"
           "\"quad\"=hex(b):01,00,00,00,00,00,00,80\r\n"
           "\"bytes\"=hex:01,02,ff\r\n"
           "\"short\"=hex(4):01,02\r\n"
           "\"none\"=hex(0):\r\n"
           "\"open\"=hex(1):41,00,42,00\r\n"
           "\"odd\"=hex(1):41,00,42\r\n"
           "\"\xC3\x89t\xC3\xA9\"=\"\xE2\x82\xAC\"\r\n\r\n"
           "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor\\beta]\r\n\r\n"
           "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor\\" +
           std::string(255, 'n') +
           "]\r\n\r\n"
           "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor\\Alpha\\Deep]\r\n";
}

HKEY open_key(const wchar_t* path) {
    HKEY key = nullptr;
    EXPECT_EQ(ERROR_SUCCESS,
              RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ | KEY_WOW64_64KEY, &key));
    return key;
}

struct registry : testing::Test {
    static void SetUpTestSuite() { machine().write_registry(sections()); }
    void SetUp() override { key = open_key(L"software\\VENDOR"); }
    void TearDown() override { EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key)); }
    HKEY key = nullptr;
};

template <std::size_t Size>
std::string bytes_of(const wchar_t (&text)[Size]) {
    return std::string(reinterpret_cast<const char*>(text), (Size - 1) * unit);
}

}  // namespace

TEST_F(registry, opening) {
    const struct {
        const wchar_t* path;
        LSTATUS status;
    } cases[] = {{L"beta", ERROR_SUCCESS},
                 {L"ALPHA\\deep", ERROR_SUCCESS},
                 {L"beta\\", ERROR_SUCCESS},
                 {L"", ERROR_SUCCESS},
                 {long_name.c_str(), ERROR_SUCCESS},
                 {L"absent", ERROR_FILE_NOT_FOUND},
                 {L"beta\\absent\\deeper", ERROR_FILE_NOT_FOUND},
                 {L"bet", ERROR_FILE_NOT_FOUND},
                 {L"beta ", ERROR_FILE_NOT_FOUND},
                 {L"alpha/deep", ERROR_FILE_NOT_FOUND},
                 {L"\\beta", ERROR_BAD_PATHNAME}};
    for (const auto& test : cases) {
        for (REGSAM view : {0, KEY_WOW64_64KEY}) {
            HKEY opened = nullptr;
            EXPECT_EQ(test.status, RegOpenKeyExW(key, test.path, 0, KEY_READ | view, &opened))
                << testing::PrintToString(test.path);
            EXPECT_EQ(test.status == ERROR_SUCCESS, opened != nullptr);
            if (opened) {
                EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(opened));
                EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(opened));
                EXPECT_EQ(ERROR_INVALID_HANDLE, RegOpenKeyExW(opened, L"", 0, KEY_READ, &opened));
            }
        }
    }
}

TEST_F(registry, values) {
    const struct {
        const wchar_t* name;
        DWORD type;
        std::string data;
    } cases[] = {{nullptr, REG_SZ, bytes_of(L"default\0")},
                 {L"", REG_SZ, bytes_of(L"default\0")},
                 {L"ZULU", REG_SZ, bytes_of(L"C:\\dir \"x\"\0")},
                 {L"alpha", REG_DWORD, std::string("\xFE\xFF\0\0", 4)},
                 {L"empty", REG_SZ, bytes_of(L"\0")},
                 {L"expand", REG_EXPAND_SZ, bytes_of(L"%A\0")},
                 {L"multi", REG_MULTI_SZ, bytes_of(L"A\0B\0\0")},
                 {L"quad", REG_QWORD, std::string("\1\0\0\0\0\0\0\x80", 8)},
                 {L"bytes", REG_BINARY, "\1\2\xFF"},
                 {L"short", REG_DWORD, "\1\2"},
                 {L"none", REG_NONE, ""},
                 {L"open", REG_SZ, bytes_of(L"AB")},
                 {L"odd", REG_SZ, bytes_of(L"A") + "B"},
                 {L"\u00E9T\u00C9", REG_SZ, bytes_of(L"\u20AC\0")}};
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::PrintToString(test.name));
        const DWORD whole = static_cast<DWORD>(test.data.size());
        // Wine's import has given it an end.
        const std::wstring name = test.name ? test.name : L"";
        if (is_wine() && (name == L"open" || name == L"odd")) continue;
        // Only asked for the type, then the size, then into less, just enough and more room.
        DWORD type = 77;
        EXPECT_EQ(ERROR_SUCCESS,
                  RegQueryValueExW(key, test.name, nullptr, &type, nullptr, nullptr));
        EXPECT_EQ(test.type, type);
        DWORD size = 77;
        EXPECT_EQ(ERROR_SUCCESS,
                  RegQueryValueExW(key, test.name, nullptr, nullptr, nullptr, &size));
        EXPECT_EQ(whole, size);
        for (const DWORD room : {whole - 1, whole, whole + unit}) {
            if (whole == 0 && room != whole) continue;
            std::string buffer(whole + 2 * unit, '#');
            type = 77;
            size = room;
            const bool fits = room >= whole;
            EXPECT_EQ(fits ? ERROR_SUCCESS : ERROR_MORE_DATA,
                      RegQueryValueExW(key, test.name, nullptr, &type,
                                       reinterpret_cast<LPBYTE>(&buffer[0]), &size));
            EXPECT_EQ(test.type, type);
            EXPECT_EQ(whole, size);
            if (fits) {
                EXPECT_EQ(test.data, buffer.substr(0, whole));
            }
            // A text without its end gets one where there is room behind it.
            const bool ends = name == L"open" && room > whole;
            if (name == L"odd") continue;
            EXPECT_EQ(std::string(unit, ends ? '\0' : '#'), buffer.substr(whole, unit));
            EXPECT_EQ(std::string(unit, '#'), buffer.substr(whole + unit));
        }
    }
    BYTE letter = 0;
    DWORD size = 1;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND,
              RegQueryValueExW(key, L"absent", nullptr, nullptr, &letter, &size));
    const HKEY bare = open_key(L"SOFTWARE\\Vendor\\beta");
    EXPECT_EQ(ERROR_FILE_NOT_FOUND,
              RegQueryValueExW(bare, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(bare));
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              RegQueryValueExW(key, L"bytes", nullptr, nullptr, &letter, nullptr));
    EXPECT_EQ(ERROR_INVALID_HANDLE,
              RegQueryValueExW(nullptr, L"bytes", nullptr, nullptr, nullptr, nullptr));
}

TEST_F(registry, values_by_ansi_name) {
    const struct {
        const char* name;
        std::string data;
    } cases[] = {{nullptr, std::string("default", 8)},
                 {"zulu", std::string("C:\\dir \"x\"", 11)},
                 {"\xE9T\xC9", std::string("\x80", 2)},
                 {"multi", std::string("A\0B\0", 5)},
                 {"alpha", std::string("\xFE\xFF\0\0", 4)}};
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::PrintToString(test.name));
        const DWORD whole = static_cast<DWORD>(test.data.size());
        for (const DWORD room : {whole - 1, whole, DWORD{32}}) {
            char buffer[32];
            DWORD size = room;
            EXPECT_EQ(room >= whole ? ERROR_SUCCESS : ERROR_MORE_DATA,
                      RegQueryValueExA(key, test.name, nullptr, nullptr,
                                       reinterpret_cast<LPBYTE>(buffer), &size));
            EXPECT_EQ(whole, size);
            if (room >= whole) {
                EXPECT_EQ(test.data, std::string(buffer, size));
            }
        }
    }
}

TEST_F(registry, enumeration) {
    DWORD subkeys = 0, longest_key = 0, values = 0, longest_name = 0, longest_data = 0;
    ASSERT_EQ(ERROR_SUCCESS,
              RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, &longest_key, nullptr,
                               &values, &longest_name, &longest_data, nullptr, nullptr));
    EXPECT_EQ(3u, subkeys);
    EXPECT_EQ(255u, longest_key);
    EXPECT_EQ(13u, values);
    EXPECT_EQ(6u, longest_name);
    EXPECT_EQ(11 * unit, longest_data);
    const std::wstring names[] = {L"Alpha", L"beta", long_name};
    wchar_t name[300];
    for (DWORD i = 0; i < 3; ++i) {
        const DWORD length = static_cast<DWORD>(names[i].size());
        for (const DWORD room : {DWORD{0}, length, length + 1}) {
            DWORD size = room;
            EXPECT_EQ(room > length ? ERROR_SUCCESS : ERROR_MORE_DATA,
                      RegEnumKeyExW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr));
            EXPECT_EQ(room > length ? length : room, size);
        }
        EXPECT_EQ(names[i], name);
    }
    // In no order that a caller could count on.
    std::map<std::wstring, DWORD> found;
    for (DWORD i = 0; i < values; ++i) {
        DWORD size = 300, type = 77, data_size = 0;
        EXPECT_EQ(ERROR_SUCCESS,
                  RegEnumValueW(key, i, name, &size, nullptr, &type, nullptr, nullptr));
        EXPECT_EQ(size, std::wcslen(name));
        found[name] = type;
        if (size > 0) {
            EXPECT_EQ(ERROR_MORE_DATA,
                      RegEnumValueW(key, i, name, &size, nullptr, &type, nullptr, &data_size));
        }
    }
    const std::map<std::wstring, DWORD> expected = {{L"", REG_SZ},
                                                    {L"zulu", REG_SZ},
                                                    {L"Alpha", REG_DWORD},
                                                    {L"empty", REG_SZ},
                                                    {L"expand", REG_EXPAND_SZ},
                                                    {L"multi", REG_MULTI_SZ},
                                                    {L"quad", REG_QWORD},
                                                    {L"bytes", REG_BINARY},
                                                    {L"short", REG_DWORD},
                                                    {L"none", REG_NONE},
                                                    {L"open", REG_SZ},
                                                    {L"odd", REG_SZ},
                                                    {L"\u00C9t\u00E9", REG_SZ}};
    EXPECT_EQ(expected, found);
    DWORD size = 300;
    EXPECT_EQ(ERROR_NO_MORE_ITEMS,
              RegEnumKeyExW(key, 3, name, &size, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS,
              RegEnumValueW(key, values, name, &size, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_HANDLE,
              RegEnumKeyExW(nullptr, 0, name, &size, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_HANDLE,
              RegQueryInfoKeyW(nullptr, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nullptr));
}
