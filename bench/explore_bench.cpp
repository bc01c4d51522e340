// Exploring 1, 10 and 100 databases of 1,000 files each.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bench/measure.h"
#include "road/module.h"
#include "sandbox/builder.h"

namespace {

constexpr int files = 1000;

void make_server(const bench::machine_t& machine, int databases) {
    sandbox::server_t server(machine.folder);
    sandbox::home_t home;
    home.path = "C:\\app\\oracle";
    home.name = "Home";
    home.base = "C:\\app";
    home.with_orabasehome = false;
    server.add_home(home);
    for (int i = 0; i < databases; ++i) {
        sandbox::instance_t instance;
        instance.sid = "DB" + std::to_string(i);
        for (int n = 0; n < files; ++n) {
            instance.data_files.push_back(
                {"C:\\oradata\\" + instance.sid + "\\DATA" + std::to_string(n) + ".DBF", 1048576});
        }
        server.add_instance(home, instance);
    }
    server.write();
}

}  // namespace

int main() {
    setenv("ORALIB_JOURNAL", "0", 1);
    std::printf("%9s %9s %14s %15s %10s\n", "databases", "seconds", "ms a database",
                "document bytes", "in client");
    for (const int databases : {1, 10, 100}) {
        const bench::machine_t machine;
        make_server(machine, databases);
        const auto result = machine.folder / "result";
        const double inside = bench::seconds_inside_client(machine, [&] {
            road::module_t module;
            module.init("bench.log");
            road::answer_t answer;
            const double spent = bench::seconds_of([&] { answer = module.explore(); });
            std::ofstream(result) << spent << ' ' << answer.result.size();
        });
        double seconds = 0;
        std::size_t document_bytes = 0;
        std::ifstream(result) >> seconds >> document_bytes;
        std::printf("%9d %9.3f %14.2f %15zu %9.0f%%\n", databases, seconds,
                    seconds / databases * 1000, document_bytes, inside / seconds * 100);
    }
}
