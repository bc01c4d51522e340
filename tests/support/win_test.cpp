// The wrappers of registry, files and paths.
#include <functional>
#include <memory>
#include <thread>

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/fixture.h"
#include "support/win/file.h"
#include "support/win/path.h"
#include "support/win/registry.h"

namespace support_test {
namespace {

using Registry = Machine;

TEST_F(Registry, OutcomesOfTheReaders) {
    machine.write_registry(
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Key]\n"
        "\"text\"=\"caf\xc3\xa9\"\n\"empty\"=\"\"\n\"number\"=dword:00000007\n"
        "\"expand\"=hex(2):25,00,41,00,25,00,00,00\n\"bytes\"=hex:01,02,03,04,05\n");
    const auto key = win::open_hklm_subkey(L"SOFTWARE\\Key", KEY_READ);
    ASSERT_TRUE(key);
    std::string text = "untouched";
    std::uint32_t number = 0;
    EXPECT_TRUE(key->query_string("text", text));
    EXPECT_EQ(text, "caf\xe9");
    EXPECT_TRUE(key->query_string("empty", text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(key->query_wstring_or(L"empty", L"fallback"), L"");
    EXPECT_EQ(key->query_wstring_or(L"expand", L"fallback"), L"%A%");
    EXPECT_EQ(key->query_wstring_or(L"absent", L"fallback"), L"fallback");
    EXPECT_FALSE(key->query_string("absent", text));
    EXPECT_TRUE(key->query_dword("number", number));
    EXPECT_EQ(number, 7u);
    EXPECT_TRUE(key->query_bool_or("number", false));
    EXPECT_EQ(key->query_dword_or("absent", 9), 9u);
    const struct {
        std::function<void()> read;
        const char* words;
    } failures[] = {
        {[&] { key->query_string("number", text); },
         "Unexpected registry type: [4].\nCannot retrieve a registry value. Value name: [number]."},
        {[&] { key->query_dword("text", number); },
         "Unexpected registry type: [1].\nCannot retrieve a registry value. Value name: [text]."},
        {[&] { key->query_dword("bytes", number); },
         "Unexpected registry type: [3].\nCannot retrieve a registry value. Value name: [bytes]."},
        {[&] { win::win_reg_key_t().query_string("text", text); },
         "Registry key object is not initialized."},
        {[&] { &*key; }, "operator& cannot be called because registry key already initialized."},
    };
    for (const auto& row : failures) {
        EXPECT_EQ(failure_of(row.read), row.words);
    }
    EXPECT_NE(failure_of([&] {
                  key->get_dword("absent");
              }).find("Cannot retrieve a registry value. Value name: [absent]."),
              std::string::npos);
    EXPECT_FALSE(win::open_hklm_subkey(L"SOFTWARE\\Absent", KEY_READ));
    EXPECT_EQ(win::win_regoptions_reader_t(L"SOFTWARE\\Absent").get_string("text", "f"), "f");
    EXPECT_EQ(win::win_regoptions_reader_t(L"SOFTWARE\\Key").get_string("number", "f"), "f");

    const win::reg_transaction_t transaction;
    win::win_reg_key_t transacted;
    transacted.set_transaction(&transaction);
    EXPECT_NE(transacted.open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Absent"), ERROR_SUCCESS);
}

using Files = Machine;

TEST_F(Files, ReadWriteSeekAndShrink) {
    const auto file = win::win_file_t::create_or_open(L"C:\\file", CREATE_NEW);
    file->write("0123456789", 10);
    file->flush();
    file->seek(-4, FILE_END);
    char buffer[8] = {};
    EXPECT_EQ(file->read(buffer, sizeof buffer), 4u);
    EXPECT_STREQ(buffer, "6789");
    EXPECT_EQ(file->read(buffer, sizeof buffer), 0u);
    file->reset_size(3);
    EXPECT_EQ(file->size(), 3u);
    EXPECT_NE(failure_of([&] { file->seek(-99, FILE_CURRENT); })
                  .find("Seek operation has failed. File: [C:\\file]. Distance to move: [-99]. "
                        "Move method: [FILE_CURRENT]."),
              std::string::npos);
    EXPECT_EQ(win::win_file_t::open_read_only(L"C:\\file")->size(), 3u)
        << "opened by another for writing";
    EXPECT_NE(failure_of([] {
                  win::win_file_t::create_or_open(L"C:\\file");
              }).find("Failed to create or open file [C:\\file]."),
              std::string::npos);
    EXPECT_NE(failure_of([] {
                  win::win_file_t::open_read_only(L"C:\\absent");
              }).find("Failed to open file [C:\\absent] in readonly mode."),
              std::string::npos);
    EXPECT_NO_THROW(win::win_file_t::open_read_only(L"C:\\Windows")) << "folders can be opened";
}

TEST_F(Files, Folders) {
    win::create_directories(L"C:\\a/b\\c\\name");
    EXPECT_TRUE(win::folder_exists(L"C:\\a\\b\\c"));
    EXPECT_FALSE(win::path_exists(L"C:\\a\\b\\c\\name"));
    std::vector<const wchar_t*> paths = {L"\\\\?\\C:\\u\\v\\"};
    if (machine_t::is_layered()) {
        // A share of another machine.
        std::filesystem::create_directories(machine.folder / "shares/srv/sh");
        paths.insert(paths.end(), {L"\\\\srv\\sh\\x\\y\\", L"\\\\?\\UNC\\srv\\sh\\p\\q\\",
                                   L"//?/UNC/srv/sh/s/t/"});
    }
    for (const wchar_t* path : paths) {
        win::create_directories(path);
        EXPECT_TRUE(win::folder_exists(path));
    }
    EXPECT_NE(failure_of([] { win::create_directories(L"Q:\\a\\b\\"); }), "nothing");
    win::create_empty_file(L"C:\\a\\file");
    EXPECT_TRUE(win::path_exists("C:\\a\\file"));
    win::remove_file(L"C:\\a\\file");
    EXPECT_FALSE(win::path_exists("C:\\a\\file"));
    EXPECT_THROW(win::remove_file(L"C:\\a"), std::exception) << "not empty";
}

TEST(Paths, SplitAndJoin) {
    const struct {
        const char* path;
        const char* folder;
        const char* name;
    } splits[] = {{"C:\\a/b\\c", "C:\\a/b", "c"},
                  {"C:\\a\\b/c", "C:\\a\\b", "c"},
                  {"name", "", "name"},
                  {"C:\\", "C:", ""},
                  {"+DATA/x/y.1.2", "+DATA/x", "y.1.2"}};
    for (const auto& row : splits) {
        std::string folder;
        std::string name;
        win::split_path(row.path, folder, name);
        EXPECT_EQ(folder, row.folder);
        EXPECT_EQ(name, row.name);
    }
    EXPECT_EQ(win::join_path("C:/a", "b/c"), "C:\\a\\b\\c");
    EXPECT_EQ(win::join_path("C:\\a\\", "b"), "C:\\a\\b");
    EXPECT_EQ(win::join_path("", "b"), "b");
    EXPECT_EQ(win::join_path(L"C:\\a", L"D:\\b"), L"D:\\b");
}

}  // namespace
}  // namespace support_test
