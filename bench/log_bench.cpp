// A line through the log against a raw write of the same bytes, and against a well-known logger
// that flushes each line.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#ifdef BENCH_WITH_SPDLOG
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

#include "bench/measure.h"
#include "support/logging/logger.h"
#include "support/logging/win_log_file.h"

namespace {

// All lines together stay below the size at which the log is archived.
constexpr int lines = 1000;
constexpr int rounds = 25;

const std::string text =
    "Found oracle instance: ORCL. Is ASM: false, is autostart: true, in a line of usual length";

template <typename Line>
double seconds_of_lines(const Line& line) {
    return bench::seconds_of([&] {
        for (int i = 0; i < lines; ++i) {
            line();
        }
    });
}

double seconds_of_log() {
    return seconds_of_lines([] { logging::g_oralib_log.line(text); });
}

void against_write(const bench::machine_t& machine, const std::string& bytes) {
    const auto file = machine.folder / "raw.log";
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT, 0600);
    bench::compare("a log line against a raw write", 1.25, rounds, seconds_of_log, [&] {
        return seconds_of_lines([&] {
            if (write(descriptor, bytes.data(), bytes.size()) < 0) {
                std::perror("write");
                std::exit(1);
            }
        });
    });
    close(descriptor);
}

void against_spdlog(const bench::machine_t& machine) {
#ifdef BENCH_WITH_SPDLOG
    const auto peer = spdlog::basic_logger_mt("oralib", (machine.folder / "spdlog.log").string());
    peer->set_pattern("[%d.%m.%Y %H:%M:%S] <%6t> %n%v");
    peer->flush_on(spdlog::level::info);
    bench::compare("a log line against spdlog's", 0.75, rounds, seconds_of_log,
                   [&] { return seconds_of_lines([&] { peer->info(text); }); });
#else
    static_cast<void>(machine);
    std::printf("a log line against spdlog's: left out, spdlog was not there at the build\n");
#endif
}

}  // namespace

int main() {
    const bench::machine_t machine;
    logging::g_oralib_log.log()->install(win::open_log_file(L"C:\\bench.log"));
    logging::g_oralib_log.line(text);
    std::string bytes;
    std::getline(std::ifstream(machine.drive() / "bench.log"), bytes);
    bytes += '\n';
    std::printf("%d rounds of %d lines of %zu bytes\n", rounds, lines, bytes.size());
    against_write(machine, bytes);
    against_spdlog(machine);
}
