// Conversions between code pages, and base64.
#include "support/fixture.h"
#include "support/text/base64.h"
#include "support/text/convert.h"

namespace support_test {
namespace {

using Text = Machine;

TEST_F(Text, WhatACodePageHoldsComesBackAndTheRestFails) {
    const std::wstring held = L"C:\\caf\u00e9 \u20ac \u0081";
    EXPECT_EQ(util::from_ansi(util::to_ansi(held)), held);
    EXPECT_EQ(util::to_ansi(L"\u20ac"), "\x80");
    for (const wchar_t* lost : {L"\u0416", L"a\u0100", L"\xD83D\xDE00"}) {
        EXPECT_NE(failure_of([&] {
                      util::to_ansi(lost);
                  }).find("Unicode string cannot be converted to multibyte string."),
                  std::string::npos);
        EXPECT_EQ(util::to_ansi_safe(lost), "UNICODE->ANSI failed");
        EXPECT_EQ(util::from_utf8(util::to_utf8(lost)), lost);
    }
    EXPECT_NE(failure_of([] { util::from_utf8("\xff"); })
                  .find("Multibyte UTF8 string cannot be converted to unicode string. Source "
                        "string: [\xff]."),
              std::string::npos);
    EXPECT_NE(failure_of([] {
                  util::to_utf8(std::wstring(1, wchar_t(0xD800)));
              }).find("Unicode string cannot be converted to UTF8 string."),
              std::string::npos);
    EXPECT_EQ(util::ansi_to_utf8("\xe9"), "\xc3\xa9");
    EXPECT_EQ(util::to_ansi(L"") + util::to_utf8(L""), "");
}

TEST_F(Text, AnotherCodePage) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "the code page is the machine's own";
    }
    machine.write_host("ansi_code_page = 1251\n");
    EXPECT_EQ(util::to_ansi(L"\u0416"), "\xc6");
    EXPECT_THROW(util::to_ansi(L"\u00e9"), std::exception);
}

TEST(Base64, BothWays) {
    const struct {
        const char* plain;
        const char* coded;
    } rows[] = {{"", ""},
                {"f", "Zg=="},
                {"fo", "Zm8="},
                {"foo", "Zm9v"},
                {"foob", "Zm9vYg=="},
                {"fooba", "Zm9vYmE="},
                {"foobar", "Zm9vYmFy"}};
    for (const auto& row : rows) {
        const std::string plain = row.plain;
        EXPECT_EQ(util::base64_encode(plain.data(), plain.size()), row.coded);
        EXPECT_EQ(util::base64_decode(row.coded), plain);
    }
    EXPECT_EQ(util::base64_decode("Zm9v\r\nYmFy"), "foobar");
    EXPECT_EQ(util::base64_decode("Zm9v=Zm9v"), "foo");
    EXPECT_EQ(util::base64_decode("Zm9v!Zm9v"), "foo");
    EXPECT_EQ(util::base64_encode("\xff\xfe\x00", 3), "//4A");
}

}  // namespace
}  // namespace support_test
