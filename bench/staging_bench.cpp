// Staging a large archived log against cp of the same file, and the memory that it takes.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "road/module.h"
#include "sandbox/builder.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t log_size = 1024 * 1024 * 1024;
constexpr int rounds = 5;
const std::string home_path = "C:\\app\\oracle";
const std::string log_path = "C:\\oradata\\ORCL\\archive\\ARC1";

void make_server(const bench::machine_t& machine) {
    sandbox::server_t server(machine.folder);
    sandbox::home_t home;
    home.path = home_path;
    home.name = "Home";
    home.base = "C:\\app";
    server.add_home(home);
    sandbox::instance_t instance;
    instance.sid = "ORCL";
    sandbox::archived_log_t log;
    log.name = log_path;
    log.blocks = log_size / log.block_size;
    log.with_file = false;
    instance.archived_logs = {log};
    server.add_instance(home, instance);
    server.set_registry("SOFTWARE\\Tarny\\Tarny Client Vault", "OracleStageLogsBeforeBackup", 1);
    server.write();
}

void write_log(const fs::path& file) {
    fs::create_directories(file.parent_path());
    std::mt19937_64 random(1);
    std::vector<std::uint64_t> piece(1024 * 128);
    std::ofstream stream(file, std::ios::binary);
    for (std::uint64_t left = log_size; left > 0; left -= piece.size() * sizeof piece[0]) {
        for (std::uint64_t& word : piece) {
            word = random();
        }
        stream.write(reinterpret_cast<const char*>(piece.data()),
                     static_cast<std::streamsize>(piece.size() * sizeof piece[0]));
    }
}

// A line like "VmHWM:  4711 kB".
long memory_kib(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, key.size(), key) == 0) {
            return std::atol(line.c_str() + key.size() + 1);
        }
    }
    return 0;
}

// What is staged goes again, unmeasured: the next round finds the disk as this one did.
double stage(road::module_t& module, const std::string& last_rec_id) {
    road::answer_t answer;
    const double seconds =
        bench::seconds_of([&] { answer = module.backup_logs(home_path, "ORCL", "", last_rec_id); });
    const bool has_large = answer.result.find(std::to_string(log_size)) != std::string::npos;
    if (answer.code != ORALIB_OK || has_large != last_rec_id.empty() ||
        module.remove_logs(answer.result).code != ORALIB_OK) {
        std::fprintf(stderr, "staging failed: %s\n", answer.error.c_str());
        std::exit(1);
    }
    return seconds;
}

}  // namespace

int main() {
    setenv("ORALIB_JOURNAL", "0", 1);
    const bench::machine_t machine;
    make_server(machine);
    const fs::path log = sandbox::native_path(machine.folder, log_path);
    const fs::path copy = machine.drive() / "copy";
    write_log(log);
    road::module_t module;
    module.init("bench.log");

    stage(module, "1");
    const long before = memory_kib("VmRSS");
    std::ofstream("/proc/self/clear_refs") << "5\n";  // the peak begins anew
    stage(module, "");
    const long growth = memory_kib("VmHWM") - before;
    std::printf("staging 1 GiB takes %ld KiB of memory more than staging a small log, aim %d: %s\n",
                growth, 1024, growth <= 1024 ? "met" : "missed");

    bench::compare(
        "staging 1 GiB against cp", 1.00, rounds, [&] { return stage(module, ""); },
        [&] {
            const double seconds = bench::seconds_of([&] {
                bench::run_program({"cp", log, copy});
            });
            fs::remove(copy);
            return seconds;
        });
}
