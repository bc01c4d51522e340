// Exploring 1, 10 and 100 databases of 1,000 files each.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "road/module.h"
#include "sandbox/builder.h"

namespace {

namespace fs = std::filesystem;

constexpr int files = 1000;

void make_server(const fs::path& folder, int databases) {
    sandbox::server_t server(folder);
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

struct measured_t {
    double seconds = 0;
    std::size_t document_bytes = 0;
};

// In a process of its own: the client stand-in reports its time when the process ends.
measured_t explore(const fs::path& folder) {
    const fs::path result = folder / "result";
    const pid_t child = fork();
    if (child == 0) {
        setenv("ORALIB_SANDBOX", folder.c_str(), 1);
        setenv("ORALIB_OCI_TIMES", (folder / "times").c_str(), 1);
        if (!std::freopen("/dev/null", "w", stdout)) {
            std::exit(1);
        }
        road::module_t module;
        module.init("bench.log");
        const auto begin = std::chrono::steady_clock::now();
        const road::answer_t answer = module.explore();
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
        std::ofstream(result) << spent.count() << ' ' << answer.result.size();
        std::exit(0);
    }
    waitpid(child, nullptr, 0);
    measured_t measured;
    std::ifstream(result) >> measured.seconds >> measured.document_bytes;
    return measured;
}

// The stand-in leaves "inside_us=N calls=M" behind.
double seconds_inside(const fs::path& report) {
    std::ifstream stream(report);
    std::string word;
    stream >> word;
    return std::atof(word.substr(word.find('=') + 1).c_str()) / 1e6;
}

}  // namespace

int main() {
    setenv("ORALIB_JOURNAL", "0", 1);
    std::printf("%9s %9s %14s %15s %10s\n", "databases", "seconds", "ms a database",
                "document bytes", "in client");
    for (const int databases : {1, 10, 100}) {
        std::string name = (fs::temp_directory_path() / "oralib-bench-XXXXXX").string();
        const fs::path folder = mkdtemp(name.data());
        make_server(folder, databases);
        std::fflush(stdout);
        const measured_t measured = explore(folder);
        std::printf("%9d %9.3f %14.2f %15zu %9.0f%%\n", databases, measured.seconds,
                    measured.seconds / databases * 1000, measured.document_bytes,
                    seconds_inside(folder / "times") / measured.seconds * 100);
        fs::remove_all(folder);
    }
}
