#include "host/child.h"

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace host {

namespace {

constexpr std::array<int, 3> ending_signals = {SIGINT, SIGTERM, SIGHUP};
constexpr auto look_every = std::chrono::milliseconds(20);
constexpr auto grace = std::chrono::seconds(10);

volatile sig_atomic_t g_asked = 0;
std::array<struct sigaction, ending_signals.size()> g_before;
struct sigaction g_before_pipe;

void note(int) {
    g_asked = 1;
}

// A group of its own, so that whatever the command starts can be ended with it.
pid_t start(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setpgroup(&attributes, 0);
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, arguments[0], nullptr, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        throw std::runtime_error("cannot run " + words[0] + ": " + strerror(error));
    }
    return child;
}

}  // namespace

end_requests_t::end_requests_t() {
    struct sigaction action {};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < ending_signals.size(); ++i) {
        sigaction(ending_signals[i], &action, &g_before[i]);
    }
    // Nor may a reader of the output that is gone end the process.
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, &g_before_pipe);
}

end_requests_t::~end_requests_t() {
    for (std::size_t i = 0; i < ending_signals.size(); ++i) {
        sigaction(ending_signals[i], &g_before[i], nullptr);
    }
    sigaction(SIGPIPE, &g_before_pipe, nullptr);
}

bool end_requests_t::was_asked() {
    return g_asked != 0;
}

child_outcome_t run_child(const std::vector<std::string>& words, std::chrono::seconds limit) {
    using clock = std::chrono::steady_clock;
    const pid_t child = start(words);
    const clock::time_point begin = clock::now();
    clock::time_point asked_to_end;
    child_end how = child_end::exited;
    for (;;) {
        int status = 0;
        const pid_t ended = waitpid(child, &status, WNOHANG);
        if (ended < 0 && errno != EINTR) {
            return {how, 1};  // somebody else has its exit code
        }
        if (ended == child) {
            if (how != child_end::exited) {
                kill(-child, SIGKILL);  // what it left behind
            }
            return {how, WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status)};
        }
        const clock::time_point now = clock::now();
        if (how != child_end::exited) {
            if (now - asked_to_end > grace) {
                kill(-child, SIGKILL);
            }
            if (now - asked_to_end > 2 * grace) {
                return {how, 1};  // stuck in the system; the databases must not wait for it
            }
        } else if (end_requests_t::was_asked() || now - begin > limit) {
            how = end_requests_t::was_asked() ? child_end::interrupted : child_end::timed_out;
            asked_to_end = now;
            kill(-child, SIGTERM);
        }
        std::this_thread::sleep_for(look_every);
    }
}

}  // namespace host
