#include <gtest/gtest.h>

#include "platform/platform.h"

namespace {

std::string narrow(UINT page, const std::wstring& text, DWORD flags, BOOL* used = nullptr) {
    char buffer[64];
    const int size = WideCharToMultiByte(page, flags, text.c_str(), static_cast<int>(text.size()),
                                         buffer, sizeof buffer, nullptr, used);
    return std::string(buffer, size);
}

std::wstring wide(UINT page, const std::string& text, DWORD flags) {
    wchar_t buffer[64];
    const int size =
        MultiByteToWideChar(page, flags, text.c_str(), static_cast<int>(text.size()), buffer, 64);
    return std::wstring(buffer, size);
}

}  // namespace

TEST(text, conversions_there_and_back) {
    const struct {
        UINT page;
        std::string narrow;
        std::wstring wide;
    } cases[] = {{CP_ACP, "plain", L"plain"},
                 {CP_ACP, "\x80\xE9\x9F", L"\u20AC\u00E9\u0178"},
                 {CP_ACP, "\x81\x8D", std::wstring{0x81, 0x8D}},
                 {1251, "\xC0\xFF", L"\u0410\u044F"},
                 {932, "\x83\x65", L"\u30C6"},
                 {CP_UTF8, "\xC3\xA9\xE2\x82\xAC", L"\u00E9\u20AC"},
                 {CP_UTF8, "\xF0\x9F\x98\x80", std::wstring{0xD83D, 0xDE00}}};
    for (const auto& test : cases) {
        EXPECT_EQ(test.wide, wide(test.page, test.narrow, MB_ERR_INVALID_CHARS));
        EXPECT_EQ(test.narrow, narrow(test.page, test.wide, 0));
    }
}

TEST(text, what_cannot_be_converted) {
    BOOL used = FALSE;
    EXPECT_EQ("a?b", narrow(CP_ACP, L"a\u0416b", WC_NO_BEST_FIT_CHARS, &used));
    EXPECT_TRUE(used);
    EXPECT_EQ("ab", narrow(CP_ACP, L"ab", WC_NO_BEST_FIT_CHARS, &used));
    EXPECT_FALSE(used);
    EXPECT_EQ("\xEF\xBF\xBD", narrow(CP_UTF8, std::wstring{0xD83D}, 0));
    EXPECT_EQ("", narrow(CP_UTF8, std::wstring{0xD83D}, WC_ERR_INVALID_CHARS));
    EXPECT_EQ(ERROR_NO_UNICODE_TRANSLATION, GetLastError());
    for (const char* bad : {"\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF5\x80\x80\x80", "a\xFF"}) {
        SetLastError(0);
        EXPECT_EQ(L"", wide(CP_UTF8, bad, MB_ERR_INVALID_CHARS));
        EXPECT_EQ(ERROR_NO_UNICODE_TRANSLATION, GetLastError());
        EXPECT_NE(std::wstring::npos, wide(CP_UTF8, bad, 0).find(0xFFFD));
    }
}

TEST(text, sizes) {
    char buffer[4] = "...";
    EXPECT_EQ(4, WideCharToMultiByte(CP_ACP, 0, L"abc", -1, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(4, WideCharToMultiByte(CP_ACP, 0, L"abc", -1, buffer, 4, nullptr, nullptr));
    EXPECT_STREQ("abc", buffer);
    EXPECT_EQ(0, WideCharToMultiByte(CP_ACP, 0, L"abc", -1, buffer, 3, nullptr, nullptr));
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, GetLastError());
    EXPECT_EQ(0, MultiByteToWideChar(CP_ACP, 0, "", 0, nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
}

TEST(text, system_messages) {
    wchar_t* text = nullptr;
    const DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD length = FormatMessageW(flags | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 1033,
                                        reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    ASSERT_GT(length, 2u);
    EXPECT_EQ(L"\r\n", std::wstring(text).substr(length - 2));
    EXPECT_EQ(nullptr, LocalFree(text));
    EXPECT_EQ(0u, FormatMessageW(flags | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 0x2FFFFFFF, 1033,
                                 reinterpret_cast<LPWSTR>(&text), 0, nullptr));
    EXPECT_EQ(nullptr, GetModuleHandleW(L"wininet.dll"));
    EXPECT_EQ(ERROR_MOD_NOT_FOUND, GetLastError());
}
