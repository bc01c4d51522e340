// Messages, the chain of lines, and what survives the way through layers and threads.
#include <gtest/gtest.h>

#include <stdexcept>

#include <boost/system/system_error.hpp>

#include "platform/platform.h"
#include "support/exc/byte_stream.h"
#include "support/exc/rethrow.h"
#include "support/fixture.h"
#include "support/text/format.h"

namespace support_test {
namespace {

using exc::exc_base_t;
using exc::runtime_exc_t;
using exc::win_sys_exc_t;

TEST(Format, Placeholders) {
    const struct {
        const char* format;
        std::vector<std::string> args;
        const char* text;
    } rows[] = {
        {"100%", {}, "100%"},
        {"%%", {"a"}, "%%"},
        {"%1%2", {"a"}, "a%2"},
        {"%2 %1 %1", {"a", "b"}, "b a a"},
        {"%1", {"%1 %2"}, "%1 %2"},
        {"%0 %-1 %3", {"a", "b"}, "%0 %-1 %3"},
        {"% 1|%+2|%01", {"a", "b"}, "a|b|a"},
        {"%99999999999999999999", {"a"}, "%2147483647"},
        {"%x", {"a"}, "%x"},
        {"", {"a"}, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(util::format_message(row.format, row.args), row.text) << row.format;
    }
    EXPECT_EQ(util::format_message(L"PWD%1.ora", L"ORCL"), L"PWDORCL.ora");
}

TEST(Exceptions, LayersAddLinesToTheSameObject) {
    const exc_base_t* thrown = nullptr;
    try {
        try {
            try {
                runtime_exc_t first("The root line", 1034);
                throw first;
            } catch (const std::exception& e) {
                thrown = dynamic_cast<const exc_base_t*>(&e);
                exc::rethrow_with("A layer's %1 line", "user", e);
            }
        } catch (const std::exception& e) {
            exc::rethrow_with_trace("Failed to do the %1 thing.", "outer", e);
        }
    } catch (const runtime_exc_t& e) {
        EXPECT_EQ(&e, thrown);
        EXPECT_EQ(e.code(), 1034u);
        EXPECT_EQ(e.thread_id(), GetCurrentThreadId());
        EXPECT_STREQ(e.what(),
                     "The root line\nA layer's user line\n--tr:Failed to do the outer thing.");
        EXPECT_EQ(e.get_plain_message(),
                  "The root line\nA layer's user line\nFailed to do the outer thing.");
    }
}

struct silent_t : std::exception {
    const char* what() const noexcept override { return nullptr; }
};

TEST(Exceptions, ForeignOnesBecomeTheFamilysOwn) {
    const auto pass = [](const auto& failure) {
        try {
            try {
                throw failure;
            } catch (const std::exception& e) {
                exc::rethrow_with_trace("Failed.", e);
            }
        } catch (const runtime_exc_t& e) {
            return std::string(e.what()) + "|" + util::to_string(e.code());
        }
        return std::string();
    };
    EXPECT_EQ(pass(std::runtime_error("foreign")), "foreign\n--tr:Failed.|0");
    EXPECT_EQ(pass(silent_t()), "\n--tr:Failed.|0");
    const boost::system::system_error system(5, boost::system::system_category(), "x");
    EXPECT_EQ(pass(system), std::string(system.what()) + "\n--tr:Failed.|5");
}

TEST(Exceptions, ACaptureRethrowsItsOwnType) {
    const boost::shared_ptr<exc_base_t> captured[] = {
        exc::capture_exception(win_sys_exc_t("m", 5)),
        exc::capture_exception(exc::com_exc_t(-1, "m")),
        exc::capture_exception(exc::file_locked_exc_t("C:\\x")),
        exc::capture_exception(std::runtime_error("foreign"))};
    EXPECT_THROW(captured[0]->rethrow(), win_sys_exc_t);
    EXPECT_THROW(captured[1]->rethrow(), exc::com_exc_t);
    EXPECT_THROW(captured[2]->rethrow(), exc::file_locked_exc_t);
    EXPECT_THROW(captured[3]->rethrow(), runtime_exc_t);
    EXPECT_STREQ(captured[2]->what(), "File [C:\\x] is locked.");
    EXPECT_STREQ(captured[3]->what(), "foreign");
}

TEST(Exceptions, LinesOfASystemFailure) {
    const std::string text(win_sys_exc_t("Failed to open %1", "it", 5).what());
    EXPECT_EQ(text.substr(text.find('\n')), "\nFailed to open it\n--tr:Error code: 0x00000005");
    EXPECT_EQ(text.find('\r'), std::string::npos);
    EXPECT_STREQ(exc::com_exc_t(static_cast<std::int32_t>(0x80070005), "m").what(),
                 " Error code: 0x80070005\nm");
}

TEST(Exceptions, SerialisingAndEveryTruncation) {
    runtime_exc_t source("one", 42);
    source.add_trace("two");
    source.merge_details({{"key", "value"}});
    exc::byte_writer_t writer;
    source.serialize(writer);
    const std::string bytes = writer.bytes();

    runtime_exc_t read("zero");
    exc::byte_reader_t reader(bytes);
    read.deserialize(reader);
    EXPECT_STREQ(read.what(), "zero\none\n--tr:two");
    EXPECT_EQ(read.code(), 42u);

    for (std::size_t size = 0; size < bytes.size(); ++size) {
        runtime_exc_t target("zero");
        exc::byte_reader_t cut(bytes.substr(0, size));
        const std::string failure = failure_of([&] { target.deserialize(cut); });
        EXPECT_TRUE(failure == "Failed to extract integer value from buffer." ||
                    failure.rfind("Invalid length of the string '", 0) == 0)
            << size << ": " << failure;
    }

    source.translate([](const std::string& line) { return "<" + line + ">"; });
    EXPECT_STREQ(source.what(), "<one>\n--tr:<two>");
}

}  // namespace
}  // namespace support_test
