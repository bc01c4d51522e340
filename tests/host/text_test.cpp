#include "host/text.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "host/table.h"

namespace {

TEST(HostText, Utf8AndUtf16HoldTheSame) {
    const std::basic_string<oralib_char> units = {'a',    0x80,   0x7FF,  0x800, 0xFFFD,
                                                  0xD800, 0xDC00, 0xDBFF, 0xDFFF};
    const std::string bytes =
        "a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBD\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_TRUE(host::to_utf16(bytes) == units);
    EXPECT_EQ(host::to_utf8(units.c_str()), bytes);
    EXPECT_EQ(host::to_utf8(nullptr), "");
    const oralib_char halves[] = {0xD800, 'x', 0xDC00, 0xDBFF, 0};
    EXPECT_EQ(host::to_utf8(halves), "\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(HostText, WhatIsNotUtf8IsRefusedForTheModuleAndShownAsLatin1) {
    for (const char* const bytes :
         {"\x80", "\xC0\xAF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xE2\x82", "\xE2x\xAC"}) {
        EXPECT_THROW(host::to_utf16(bytes), std::runtime_error) << bytes;
    }
    EXPECT_EQ(host::to_one_line("caf\xE9\x1B[2J\r\n\xC2\x9Bx"), "caf\xC3\xA9 [2J   x");
}

TEST(HostText, SizesForPeople) {
    const std::pair<std::uint64_t, const char*> rows[] = {{0, "0 B"},
                                                          {1023, "1023 B"},
                                                          {1024, "1.0 KiB"},
                                                          {1048524, "1023.9 KiB"},
                                                          {1048525, "1.0 MiB"},
                                                          {964689920, "920.0 MiB"},
                                                          {1ull << 40, "1.0 TiB"},
                                                          {~0ull, "16.0 EiB"}};
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(host::to_human_size(bytes), text);
    }
}

TEST(HostText, Base64) {
    EXPECT_EQ(host::from_base64(""), "");
    EXPECT_EQ(host::from_base64("+/8="), "\xFB\xFF");
    EXPECT_EQ(host::from_base64("YQ=="), "a");
    for (const char* const text : {"YQ", "Y===", "====", "Y Q=", "YQ=a"}) {
        EXPECT_FALSE(host::from_base64(text)) << text;
    }
}

TEST(HostTable, ColumnsStandBelowEachOtherOnTheScreen) {
    host::table_t table({{"A"}, {"SIZE", true}, {"C"}});
    table.add({"e\xCC\x81t\xC3\xA9", "1", "x"});
    table.add({"\xE6\x97\xA5\xE6\x9C\xAC", "12345", ""});
    std::ostringstream stream;
    table.print(stream, "Title");
    EXPECT_EQ(stream.str(),
              "\nTitle\n"
              "  A      SIZE  C\n"
              "  e\xCC\x81t\xC3\xA9       1  x\n"
              "  \xE6\x97\xA5\xE6\x9C\xAC  12345  -\n");
    std::ostringstream none;
    host::table_t({{"A"}}).print(none, "Title");
    EXPECT_EQ(none.str(), "");
}

}  // namespace
