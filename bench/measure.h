// Two ways to do the same, measured in turns, so that the machine's load strikes both.
#pragma once

#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace bench {

/// A temporary folder that the library takes for its machine; removed with the object.
class machine_t {
  public:
    explicit machine_t(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::string name = (parent / "oralib-bench-XXXXXX").string();
        folder = mkdtemp(name.data());
        std::filesystem::create_directories(drive());
        setenv("ORALIB_SANDBOX", folder.c_str(), 1);
    }
    ~machine_t() { std::filesystem::remove_all(folder); }
    machine_t(const machine_t&) = delete;
    machine_t& operator=(const machine_t&) = delete;

    std::filesystem::path drive() const { return folder / "drives/c"; }

    std::filesystem::path folder;
};

template <typename Work>
double seconds_of(const Work& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
    return spent.count();
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Each way gives the seconds of one run, what it prepares left out. A round is ours, the peer, the
/// peer, ours, so that neither profits from what the other left behind. One run of each before is
/// not counted. Prints the median of ours / peer.
template <typename Ours, typename Peer>
void compare(const char* what, double aim, int rounds, const Ours& ours, const Peer& peer) {
    std::vector<double> ratios;
    ours();
    peer();
    for (int round = 0; round < rounds; ++round) {
        double ours_seconds = ours();
        double peer_seconds = peer();
        peer_seconds += peer();
        ours_seconds += ours();
        ratios.push_back(ours_seconds / peer_seconds);
    }
    std::sort(ratios.begin(), ratios.end());
    const double middle = median(ratios);
    std::printf("%s: %.2f (half of the rounds from %.2f to %.2f), aim %.2f: %s\n", what, middle,
                ratios[ratios.size() / 4], ratios[ratios.size() * 3 / 4], aim,
                middle <= aim ? "met" : "missed");
    std::fflush(stdout);
}

/// A program on the PATH; ends the benchmark where it fails.
inline void run_program(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    int status = -1;
    if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        std::fprintf(stderr, "%s failed\n", arguments[0]);
        std::exit(1);
    }
}

/// In a silent process of its own: the client stand-in tells its time when the process ends, as
/// "inside_us=N calls=M". Returns that time in seconds.
template <typename Work>
double seconds_inside_client(const machine_t& machine, const Work& work) {
    const std::filesystem::path report = machine.folder / "times";
    std::filesystem::remove(report);
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        setenv("ORALIB_OCI_TIMES", report.c_str(), 1);
        if (std::freopen("/dev/null", "w", stdout)) {
            work();
        }
        std::exit(0);
    }
    waitpid(child, nullptr, 0);
    std::string word;
    std::ifstream(report) >> word;
    return std::atof(word.substr(word.find('=') + 1).c_str()) / 1e6;
}

}  // namespace bench
