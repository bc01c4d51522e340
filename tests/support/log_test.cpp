// The log: its lines, scopes, receivers and archives.
#include <algorithm>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

#include <zlib.h>

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/fixture.h"
#include "support/logging/aging.h"
#include "support/logging/context.h"
#include "support/logging/line_format.h"
#include "support/logging/output_debug_log.h"
#include "support/logging/performance_log.h"
#include "support/logging/scope.h"
#include "support/logging/start.h"
#include "support/logging/win_log_file.h"
#include "support/win/path.h"

namespace support_test {
namespace {

class Log : public Machine {
  protected:
    void start() {
        std::filesystem::create_directories(drive / "log");
        logging::start_log({L"-log", L"C:\\log\\test.log"});
        banner = read_file(drive / "log/test.log");
    }
    // The lines without time stamp and thread.
    std::string lines() const {
        std::string text;
        std::string whole = read_file(drive / "log/test.log");
        if (whole.compare(0, banner.size(), banner) == 0) {
            whole.erase(0, banner.size());
        }
        std::istringstream stream(whole);
        for (std::string line; std::getline(stream, line);) {
            text += line.substr(line.find("> ") + 2) + "\n";
        }
        return text;
    }

    std::string banner;
};

constexpr std::size_t grown = 0xF00000;

TEST_F(Log, LinesTagsAndScopes) {
    logging::g_oralib_log.line("dropped before the start");
    start();
    const logging::logger_t& log = logging::g_oralib_log;
    {
        logging::log_scope_t outer(log, "Doing %1", "it");
        log.line("%1 of %2", "one", "two");
        log.warning("first\nsecond");
        std::thread([&] { log.line("another thread"); }).join();
        {
            logging::log_scope_t inner(log, "Inner");
            const auto trace =
                util::CCommonLibCtx::instance().threadStates.get(GetCurrentThreadId());
            ASSERT_EQ(trace.entries().size(), 2u);
            EXPECT_EQ(trace.entries()[1].text, "Inner");
        }
        outer.ok();
    }
    log.error("an error\nof two lines");
    EXPECT_EQ(lines(),
              "oralibDoing it\n"
              "oralib  one of two\n"
              "oralibWARN|  first\n"
              "oralib>>  |  second\n"
              "oralibanother thread\n"
              "oralib  Inner\n"
              "oralib  Inner Failed.\n"
              "oralibDoing it ok.\n"
              "oralibERR |an error\n"
              "oralib>>  |of two lines\n");
    EXPECT_TRUE(
        util::CCommonLibCtx::instance().threadStates.get(GetCurrentThreadId()).entries().empty());
}

struct silent_t : std::exception {
    const char* what() const noexcept override { return nullptr; }
};

TEST_F(Log, Exceptions) {
    start();
    const logging::logger_t& log = logging::g_unnamed_log;
    log.log_exception("text", silent_t());
    log.log_exception_thread("text %1", "a", std::runtime_error("cause"));
    log.log_what(silent_t());
    const exc::exc_base_t own("own");
    log.log_what_thread(own);
    EXPECT_EQ(lines(),
              "WARN|text\n"
              "ERR |text a\n>>  |cause\n>>  |An exception was thrown from thread [n/a].\n"
              "ERR |Exception message is not available.\n"
              "ERR |own\n>>  |An exception was thrown from thread [" +
                  std::to_string(GetCurrentThreadId()) + "].\n");
    const std::string before = lines();
    win::remove_leftover(L"C:\\log");
    EXPECT_EQ(lines().compare(before.size(), 5, "WARN|"), 0) << "it is not empty";
}

TEST_F(Log, BothFormsOfALine) {
    const struct {
        bool long_form;
        logging::severity_t severity;
        const char* pattern;
    } rows[] = {
        {false, logging::severity_info, R"(\[[0-9.]{10} [0-9:]{8}\] < *[0-9]+> cat    text)"},
        {false, logging::severity_error,
         R"(\[[0-9.]{10} [0-9:]{8}\] < *[0-9]+> catERR \|    text)"},
        {true, logging::severity_scope,
         R"(\[[0-9.]{10} [0-9:]{8}\] <[ 0-9]{2}> Info         text)"},
        {true, logging::severity_warning,
         R"(\[[0-9.]{10} [0-9:]{8}\] <[ 0-9]{2}> Warning      text)"},
    };
    for (const auto& row : rows) {
        logging::format::line_format_t format;
        std::string line;
        format.append(line, row.long_form, row.severity, "cat", 2, "text");
        EXPECT_TRUE(std::regex_match(line, std::regex(std::string(row.pattern) + "\n"))) << line;
    }
}

TEST_F(Log, ALockedNameIsSidestepped) {
    const auto first = win::open_log_file(L"C:\\log\\agent.log");
    const auto second = win::open_log_file(L"C:\\log\\agent.log");
    const auto plain = win::open_log_file(L"C:\\log\\plain");
    const auto numbered = win::open_log_file(L"C:\\log\\plain");
    EXPECT_EQ(first->get_path(), L"C:\\log\\agent.log");
    EXPECT_EQ(second->get_path(), L"C:\\log\\agent.1.log");
    EXPECT_EQ(plain->get_path(), L"C:\\log\\plain");
    EXPECT_EQ(numbered->get_path(), L"C:\\log\\plain.1.log");
}

std::string unpacked(const std::filesystem::path& path) {
    gzFile file = gzopen(path.string().c_str(), "rb");
    std::string text(64, '\0');
    const int length = file ? gzread(file, text.data(), 64) : 0;
    gzclose(file);
    text.resize(static_cast<std::size_t>(std::max(length, 0)));
    return text;
}

// What lies in the log's folder, each file by its name with its first characters.
std::map<std::string, std::string> beginnings(const std::filesystem::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files[entry.path().filename().string()] = read_file(entry.path()).substr(0, 9);
    }
    return files;
}

TEST_F(Log, AGrownLogIsArchivedAndElevenArchivesAreKept) {
    const auto log = win::open_log_file(L"C:\\log\\agent.log");
    log->write("small\n");
    logging::check_size(*log);
    EXPECT_FALSE(std::filesystem::exists(drive / "log/agent.log.gz"));
    write_file(drive / "log/agent.log.gz", "0");
    for (int age = 1; age <= 10; ++age) {
        write_file(drive / ("log/agent." + std::to_string(age) + ".log.gz"), std::to_string(age));
    }
    log->write(std::string(grown, 'x'));
    auto expected = beginnings(drive / "log");
    {
        const auto reader = win::win_file_t::open_read_only(L"C:\\log\\agent.3.log.gz");
        EXPECT_NE(failure_of([&] { logging::check_size(*log); })
                      .find("--tr:Cannot age file. File path: [C:\\log\\agent.log.gz]. Extension: "
                            "[.log.gz]. Ages limit: [10]."),
                  std::string::npos);
        EXPECT_EQ(beginnings(drive / "log"), expected);
    }
    logging::check_size(*log);
    log->write("goes on");
    EXPECT_EQ(unpacked(drive / "log/agent.log.gz").substr(0, 9), "small\nxxx");
    for (int age = 10; age > 1; --age) {
        expected["agent." + std::to_string(age) + ".log.gz"] = std::to_string(age - 1);
    }
    expected["agent.1.log.gz"] = "0";
    expected["agent.log"] = "goes on";
    expected["agent.log.gz"] = beginnings(drive / "log")["agent.log.gz"];
    EXPECT_EQ(beginnings(drive / "log"), expected);
}

TEST_F(Log, TheSizeIsLookedAtEveryThousandLines) {
    start();
    logging::g_oralib_log.line(std::string(grown, 'x'));
    for (auto written = std::count(banner.begin(), banner.end(), '\n') + 1; written < 1000;
         ++written) {
        EXPECT_FALSE(std::filesystem::exists(drive / "log/test.log.gz")) << written;
        logging::g_oralib_log.line("line");
    }
    EXPECT_EQ(unpacked(drive / "log/test.log.gz"), banner.substr(0, 64));
    logging::g_oralib_log.line("goes on");
    EXPECT_EQ(lines(), "oralibgoes on\n");
}

// The text of an archive from its first line to its last.
std::string whole_archive(const std::filesystem::path& path) {
    std::string text;
    gzFile file = gzopen(path.string().c_str(), "rb");
    char block[0x10000];
    for (int length; file && (length = gzread(file, block, sizeof block)) > 0;) {
        text.append(block, static_cast<std::size_t>(length));
    }
    EXPECT_EQ(gzclose(file), Z_OK) << path;
    return text;
}

// While another process holds the first name.
TEST_F(Log, AMillionLinesAreAllThereOrOlderThanElevenArchives) {
    const int count = machine_t::is_layered() ? 1000000 : 100000;
    const std::string filler(250000000u / static_cast<unsigned>(count), 'x');
    const auto held = win::open_log_file(L"C:\\log\\agent.log");
    logging::start_log({L"-log", L"C:\\log\\agent.log"});
    for (int i = 0; i < count; ++i) {
        logging::g_oralib_log.line(std::to_string(i) + " " + filler);
    }
    EXPECT_EQ(held->get_size(), 0u);

    std::size_t archives = 0;
    for (const auto& entry : std::filesystem::directory_iterator(drive / "log")) {
        archives += entry.path().extension() == ".gz" ? 1 : 0;
    }
    EXPECT_EQ(archives, 11u);
    std::string text;
    for (int age = 10; age > 0; --age) {
        text += whole_archive(drive / ("log/agent.1." + std::to_string(age) + ".log.gz"));
    }
    text += whole_archive(drive / "log/agent.1.log.gz") + read_file(drive / "log/agent.1.log");
    int expected = -1;
    for (std::size_t at = text.find("oralib"); at != std::string::npos;
         at = text.find("oralib", at + 1)) {
        const int number = std::stoi(text.substr(at + 6, 10));
        ASSERT_TRUE(expected < 0 || number == expected) << number << " behind " << expected - 1;
        expected = number + 1;
    }
    EXPECT_EQ(expected, count);
}

// A socket of this machine to which another receiver sends.
class listener_t {
  public:
    listener_t() {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        udp = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = inet_addr("127.0.0.1");
        EXPECT_EQ(bind(udp, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        socklen_t size = sizeof address;
        getsockname(udp, reinterpret_cast<sockaddr*>(&address), &size);
    }
    ~listener_t() { closesocket(udp); }
    listener_t(const listener_t&) = delete;
    listener_t& operator=(const listener_t&) = delete;

    std::uint16_t port() const { return ntohs(address.sin_port); }
    std::string next() const {
        char buffer[100];
        const auto length = recv(udp, buffer, sizeof buffer, 0);
        return std::string(buffer, length > 0 ? static_cast<std::size_t>(length) : 0);
    }

  private:
    SOCKET udp;
    sockaddr_in address = {};
};

TEST_F(Log, ADebuggerAndAnotherMachineGetEachLine) {
    const listener_t listener;
    char port[9];
    std::snprintf(port, sizeof port, "%08x", static_cast<unsigned>(listener.port()));
    const auto key = [&](const char* enabled) {
        machine.write_registry(
            std::string("[HKEY_LOCAL_MACHINE\\SOFTWARE\\TarnY\\Tarny NFS]\n"
                        "\"ExtLogHost\"=\"127.0.0.1\"\n\"ExtLogEnabled\"=dword:") +
            enabled + "\n\"ExtLogPort\"=dword:" + port + "\n");
    };
    logging::receiver::COutputDebugStringLog without_key;
    EXPECT_NE(failure_of([&] {
                  without_key.write("one\n");
              }).find("Failed to open registry key [SOFTWARE\\TarnY\\Tarny NFS]."),
              std::string::npos);
    without_key.write("two\n");
    key("00000000");
    logging::receiver::COutputDebugStringLog local;
    local.write("three\n");
    key("00000001");
    logging::receiver::COutputDebugStringLog remote;
    remote.write("four\n");
    remote.write("five\n");
    EXPECT_EQ(listener.next(), "four\n");
    EXPECT_EQ(listener.next(), "five\n");
    if (machine_t::is_layered()) {
        EXPECT_EQ(read_file(machine.folder / "run/debugger.log"), "one\ntwo\nthree\nfour\nfive\n");
    }
}

TEST_F(Log, TroubleWithThePerformanceLogStaysInIt) {
    start();
    logging::performance_log_t& log = util::CCommonLibCtx::instance().performanceLog;
    const auto file = win::win_file_t::create_or_open(L"C:\\data");
    file->flush();
    log.open(L"C:\\perf\\times.log");
    file->flush();
    const std::string written = read_file(drive / "perf/times.log");
    EXPECT_TRUE(std::regex_match(written, std::regex("C:\\\\data: flushed in \\d+ ms\r\n")));
    EXPECT_EQ(lines(), "");

    log.open(L"C:\\data\\folder\\times.log");
    file->flush();
    const std::string text = lines();
    EXPECT_NE(text.find("WARN|Performance logger failed to create directory."), std::string::npos);
    EXPECT_NE(text.find("WARN|Unable to flush performance log data. Perflog buffer will be "
                        "erased, data will be lost."),
              std::string::npos);
    log.open(L"C:\\perf\\times.log");
    log.flush();
    EXPECT_EQ(read_file(drive / "perf/times.log"), written) << "what was dropped stays so";
}

}  // namespace
}  // namespace support_test
