#include <gtest/gtest.h>

#include "scratch.h"

namespace {

constexpr DWORD message_not_found = 317;

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
                 {CP_UTF8, "\xC3\xA9\xE2\x82\xAC", L"\u00E9\u20AC"},
                 {CP_UTF8, "\xEF\xBF\xBF\xEF\xBB\xBFx", std::wstring{0xFFFF, 0xFEFF, 'x'}},
                 {CP_UTF8, "\xF0\x9F\x98\x80", std::wstring{0xD83D, 0xDE00}},
                 {CP_UTF8, "\xF4\x8F\xBF\xBF", std::wstring{0xDBFF, 0xDFFF}}};
    for (const auto& test : cases) {
        EXPECT_EQ(test.wide, wide(test.page, test.narrow, MB_ERR_INVALID_CHARS));
        EXPECT_EQ(test.narrow, narrow(test.page, test.wide, 0));
    }
}

TEST(text, every_byte_of_the_ansi_page) {
    ASSERT_EQ(1252u, GetACP());
    const std::wstring upper =
        L"\u20AC\x81\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\x8D\u017D"
        L"\x8F\x90\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\x9D"
        L"\u017E\u0178";
    ASSERT_EQ(32u, upper.size());
    for (unsigned value = 0; value < 256; ++value) {
        const bool moved = value >= 0x80 && value < 0xA0;
        const std::wstring unit(1, moved ? upper[value - 0x80] : static_cast<wchar_t>(value));
        const std::string text(1, static_cast<char>(value));
        EXPECT_EQ(unit, wide(CP_ACP, text, MB_ERR_INVALID_CHARS)) << value;
        BOOL used = TRUE;
        EXPECT_EQ(text, narrow(CP_ACP, unit, WC_NO_BEST_FIT_CHARS, &used)) << value;
        EXPECT_FALSE(used);
    }
}

TEST(text, what_the_ansi_page_lacks) {
    const struct {
        std::wstring wide;
        std::string narrow;
    } cases[] = {{L"ab", "ab"},
                 {L"a\u0416b", "a?b"},
                 {L"\u0100\u2153\uFF21", "???"},  // none is taken for one that looks alike
                 {std::wstring{0x80, 0x9F}, "??"},
                 {std::wstring{0xD83D, 0xDE00}, "??"},
                 {std::wstring{'x', 0xDE00, 0xD83D, 'y'}, "x??y"},
                 {L"?", "?"}};
    for (const auto& test : cases) {
        BOOL used = 7;
        EXPECT_EQ(test.narrow, narrow(CP_ACP, test.wide, WC_NO_BEST_FIT_CHARS, &used));
        EXPECT_EQ(test.wide.size() != 1 && test.wide != L"ab", used != FALSE) << test.narrow;
        if (test.wide[0] < 0x80 || test.wide[0] > 0xA0) {
            EXPECT_EQ(static_cast<int>(test.narrow.size()),
                      WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, test.wide.c_str(),
                                          static_cast<int>(test.wide.size()), nullptr, 0, nullptr,
                                          nullptr));
        }
    }
}

TEST(text, what_is_no_unicode) {
    const std::string mark = "\xEF\xBF\xBD";
    const struct {
        std::wstring wide;
        std::string narrow;
    } halves[] = {{{0xD83D}, mark},
                  {{0xDE00}, mark},
                  {{0xD83D, 'x'}, mark + "x"},
                  {{0xDE00, 0xD83D}, mark + mark},
                  {{0xD83D, 0xD83D, 0xDE00}, mark + "\xF0\x9F\x98\x80"}};
    for (const auto& test : halves) {
        EXPECT_EQ(test.narrow, narrow(CP_UTF8, test.wide, 0));
        SetLastError(0);
        EXPECT_EQ("", narrow(CP_UTF8, test.wide, WC_ERR_INVALID_CHARS));
        EXPECT_EQ(ERROR_NO_UNICODE_TRANSLATION, GetLastError());
    }
    for (const std::string bad :
         {"\xC3", "\xC3(", "a\xFFz", "\x80", "\xC0\x80", "\xE2\x82", "\xF0\x9F\x98z",
          "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
        SetLastError(0);
        EXPECT_EQ(L"", wide(CP_UTF8, bad, MB_ERR_INVALID_CHARS));
        EXPECT_EQ(ERROR_NO_UNICODE_TRANSLATION, GetLastError());
        EXPECT_NE(std::wstring::npos, wide(CP_UTF8, bad, 0).find(0xFFFD));
    }
}

TEST(text, sizes) {
    const auto narrow_into = [](int count, int room) {
        char buffer[8];
        return WideCharToMultiByte(CP_UTF8, 0, L"\u00E9bc", count, room ? buffer : nullptr, room,
                                   nullptr, nullptr);
    };
    const auto wide_into = [](int count, int room) {
        wchar_t buffer[8];
        return MultiByteToWideChar(CP_ACP, 0,
                                   "\xE9"
                                   "bc",
                                   count, room ? buffer : nullptr, room);
    };
    const struct {
        int count, room, narrow, wide;  // results; a failure's code below zero
    } cases[] = {{-1, 0, 5, 4},      {3, 0, 4, 3},     {2, 0, 3, 2},     {-1, 8, 5, 4},
                 {-1, 5, 5, 4},      {-1, 4, -122, 4}, {3, 4, 4, 3},     {3, 3, -122, 3},
                 {3, 1, -122, -122}, {0, 8, -87, -87}, {3, -1, -87, -87}};
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::Message() << test.count << " into " << test.room);
        const auto result = [](int size) {
            return size ? size : -static_cast<int>(GetLastError());
        };
        EXPECT_EQ(test.narrow, result(narrow_into(test.count, test.room)));
        EXPECT_EQ(test.wide, result(wide_into(test.count, test.room)));
    }
}

// The texts themselves are the system's.
TEST(text, system_messages) {
    const auto length_of = [](DWORD flags, DWORD code, std::wstring* result) {
        wchar_t* text = nullptr;
        const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | flags, nullptr, code,
                                            1033, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
        if (length > 0) *result = text;
        EXPECT_EQ(nullptr, LocalFree(text));
        return length;
    };
    const DWORD plain = FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
    for (const DWORD code : {0, 2, 3, 5, 32, 33, 87, 112, 183, 193, 1326}) {
        std::wstring text;
        const DWORD length = length_of(plain, code, &text);
        EXPECT_EQ(text.size(), length);
        ASSERT_GT(length, 4u) << code;
        EXPECT_EQ(L"\r\n", text.substr(length - 2));
    }
    std::wstring text;
    for (const DWORD code : {0x2FFFFFFFu, 0xC0FFEEu}) {
        EXPECT_EQ(0u, length_of(plain, code, &text));
        EXPECT_EQ(message_not_found, GetLastError());
    }
}
