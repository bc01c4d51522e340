// A line through the log against a raw write of the same bytes, in turns.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/logging/logger.h"
#include "support/logging/start.h"

namespace {

namespace fs = std::filesystem;

// In all below the size at which the log is archived.
constexpr int lines = 10000;
constexpr int rounds = 9;

double seconds_of(bool raw, const std::string& bytes, int descriptor) {
    const std::string text =
        "Found oracle instance: ORCL. Is ASM: false, is autostart: true, in a line of usual length";
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < lines; ++i) {
        if (raw) {
            if (write(descriptor, bytes.data(), bytes.size()) < 0) {
                std::perror("write");
                std::exit(1);
            }
        } else {
            logging::g_oralib_log.line(text);
        }
    }
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
    return spent.count();
}

std::string last_line(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    for (std::string next; std::getline(stream, next);) {
        line = next;
    }
    return line + "\n";
}

}  // namespace

int main() {
    std::string name = (fs::temp_directory_path() / "oralib-bench-XXXXXX").string();
    const fs::path folder = mkdtemp(name.data());
    fs::create_directories(folder / "drives/c");
    setenv("ORALIB_SANDBOX", folder.c_str(), 1);
    logging::get_log(L"bench.log");
    logging::start_log({});
    const fs::path log_file = folder / "drives/c/ProgramData/Tarny/ClientVault/bench.log";
    logging::g_oralib_log.line(
        "Found oracle instance: ORCL. Is ASM: false, is autostart: true, in a line of usual length");
    const std::string bytes = last_line(log_file);
    const fs::path raw_file = folder / "raw.log";
    const int descriptor = open(raw_file.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);

    std::vector<double> ratios;
    std::vector<double> log_times;
    for (int round = 0; round < rounds; ++round) {
        const double raw = seconds_of(true, bytes, descriptor);
        const double log = seconds_of(false, bytes, descriptor);
        ratios.push_back(log / raw);
        log_times.push_back(log / lines * 1e6);
    }
    std::sort(ratios.begin(), ratios.end());
    std::sort(log_times.begin(), log_times.end());
    std::printf("%d lines of %zu bytes, %d rounds\n", lines, bytes.size(), rounds);
    std::printf("a log line: %.2f microseconds; against a raw write: %.2f (%.2f to %.2f)\n",
                log_times[rounds / 2], ratios[rounds / 2], ratios.front(), ratios.back());
    close(descriptor);
    fs::remove_all(folder);
}
