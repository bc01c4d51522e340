// Archiving a full log against gzip of the same file.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "bench/measure.h"
#include "support/logging/aging.h"
#include "support/logging/line_format.h"
#include "support/logging/win_log_file.h"
#include "support/text/format.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t size = 15 * 1024 * 1024;

// What the library tells while it works, with numbers that change as theirs do.
void write_sample(const fs::path& file) {
    const char* const texts[] = {
        "Found oracle instance: DB%1. Is ASM: false, is autostart: true",
        "Connecting to DB%1, home C:\\app\\oracle\\product\\19.0.0\\dbhome_1",
        "Copying log file [C:\\oradata\\DB%1\\archive\\ARC%2]",
        "Copying log file [C:\\oradata\\DB%1\\archive\\ARC%2] ok.",
        "Saving oracle log description to: "
        "C:\\ProgramData\\Tarny\\Backup\\OracleLogBackup\\{%3-%4-4a31-9d27-%2}.xml",
        "Found %1 log files with seq number above %2",
    };
    std::mt19937 random(1);
    const auto number = [&](unsigned long limit) { return std::to_string(random() % limit); };
    logging::format::line_format_t format;
    std::string content;
    for (std::uint32_t n = 0; content.size() < size; ++n) {
        format.append(content, false, logging::severity_info, "oralib", n % 5,
                      util::format_message(texts[random() % std::size(texts)], number(8),
                                           number(100000), number(4000000000), number(60000)));
    }
    std::ofstream(file) << content;
}

}  // namespace

int main() {
    const bench::machine_t machine;
    const fs::path sample = machine.folder / "sample";
    const fs::path log = machine.drive() / "bench.log";
    const fs::path peer = machine.folder / "peer.log";
    const auto overwrite = fs::copy_options::overwrite_existing;
    write_sample(sample);
    bench::compare(
        "archiving a full log against gzip -6", 0.80, 7,
        [&] {
            fs::copy_file(sample, log, overwrite);
            const auto opened = win::open_log_file(L"C:\\bench.log");
            return bench::seconds_of([&] { logging::check_size(*opened); });
        },
        [&] {
            fs::copy_file(sample, peer, overwrite);
            return bench::seconds_of([&] { bench::run_program({"gzip", "-6", "-f", peer}); });
        });
    std::printf("%ju bytes become %ju, by gzip %ju\n", std::uintmax_t{fs::file_size(sample)},
                std::uintmax_t{fs::file_size(machine.drive() / "bench.log.gz")},
                std::uintmax_t{fs::file_size(machine.folder / "peer.log.gz")});
}
