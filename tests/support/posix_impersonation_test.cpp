// The seam of the file operations, on a share of the layer.
#include "platform/platform.h"
#include "support/fixture.h"
#include "support/logging/start.h"
#include "support/win/file.h"
#include "support/win/impersonation.h"
#include "support/win/path.h"

namespace support_test {
namespace {

class Impersonation : public Machine {
  protected:
    Impersonation() {
        std::filesystem::create_directories(machine.folder / "shares/srv/sh");
        write_file(machine.folder / "shares/srv/sh/file", "text");
        logging::start_log({L"-log", L"C:\\test.log"});
        std::filesystem::resize_file(log, 0);
    }

    // The log since the last look, without time stamps and threads.
    std::string news() {
        std::string text;
        std::istringstream stream(read_file(log));
        for (std::string line; std::getline(stream, line);) {
            text += line.substr(line.find("> ") + 2) + "\n";
        }
        std::filesystem::resize_file(log, 0);
        return text;
    }

    const std::filesystem::path log = drive / "test.log";
    const std::wstring path = L"\\\\srv\\sh\\file";
};

TEST_F(Impersonation, WithoutAContextOnlyALineForAPathOnAShare) {
    const struct {
        const wchar_t* path;
        const char* line;
    } rows[] = {
        {L"C:\\test.log", ""},
        {L"\\\\srv", ""},
        {L"\\\\srv\\", ""},
        {L"\\\\?\\UNC\\srv", ""},
        {L"\\\\srv\\sh\\file", "This path \\\\srv\\sh\\file have not impersonation context\n"},
        {L"\\\\?\\UNC\\srv\\sh\\file",
         "This path \\\\?\\UNC\\srv\\sh\\file have not impersonation context\n"},
    };
    for (const auto& row : rows) {
        EXPECT_FALSE(win::find_context(row.path));
        EXPECT_EQ(news(), row.line);
    }
    EXPECT_TRUE(win::path_exists(path));
    EXPECT_EQ(win::win_file_t::open_read_only(path)->read_all(), "text");
    EXPECT_EQ(news(),
              "This path \\\\srv\\sh\\file have not impersonation context\n"
              "This path \\\\srv\\sh\\file have not impersonation context\n");
}

}  // namespace
}  // namespace support_test
