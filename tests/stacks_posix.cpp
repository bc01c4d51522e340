#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "watchdog.h"

namespace {

void* g_addresses[64];
std::atomic<int> g_count{-1};
char g_maps[1 << 18];
// The first call loads a library.
const int g_prepared = backtrace(g_addresses, 1);

// Asks for no more than the addresses: whose they are is known to the loader, who may hang as well.
void note_own_stack(int) {
    g_count = backtrace(g_addresses, 64);
}

void say(const char* text) {
    const auto written = write(STDERR_FILENO, text, std::strlen(text));
    static_cast<void>(written);
}

void read_maps() {
    const int file = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    std::size_t size = 0;
    for (ssize_t more = 1; more > 0; size += static_cast<std::size_t>(more)) {
        more = read(file, g_maps + size, sizeof g_maps - 1 - size);
        more = more < 0 ? 0 : more;
    }
    g_maps[size] = 0;
    close(file);
}

// As the file that is mapped there, and the distance from where its first part is.
void say_address(unsigned long address) {
    char file[512] = "?";
    unsigned long first = 0;
    for (const char* line = g_maps; *line; line += std::strcspn(line, "\n") + 1) {
        unsigned long begin = 0, end = 0;
        char name[512] = "";
        if (std::sscanf(line, "%lx-%lx %*s %*s %*s %*s%*[ ]%511[^\n]", &begin, &end, name) < 2 ||
            begin > address) {
            break;
        }
        if (std::strcmp(name, file) != 0) {
            std::snprintf(file, sizeof file, "%s", name);
            first = begin;
        }
        if (address < end) {
            break;
        }
    }
    char text[600];
    std::snprintf(text, sizeof text, "  %s+0x%lx\n", file, address - first);
    say(text);
}

}  // namespace

void print_stacks() {
    const int signal_number = SIGRTMAX - 5;
    struct sigaction action = {};
    action.sa_handler = note_own_stack;
    action.sa_flags = SA_RESTART | SA_ONSTACK;
    sigaction(signal_number, &action, nullptr);
    say("\nThe test hangs. Its threads:\n");
    read_maps();
    DIR* const tasks = opendir("/proc/self/task");
    while (const dirent* const task = tasks ? readdir(tasks) : nullptr) {
        const long tid = std::atol(task->d_name);
        if (tid == 0 || tid == syscall(SYS_gettid)) {
            continue;
        }
        say("\nthread ");
        say(task->d_name);
        say("\n");
        g_count = -1;
        syscall(SYS_tgkill, getpid(), tid, signal_number);
        for (int i = 0; i < 100 && g_count < 0; ++i) {
            const timespec pause = {0, 10'000'000};
            nanosleep(&pause, nullptr);
        }
        if (g_count < 0) {
            say("  takes no signal\n");
        }
        for (int i = 0; i < g_count; ++i) {
            say_address(reinterpret_cast<unsigned long>(g_addresses[i]));
        }
    }
}

void end_hung_process() {
    _exit(hung_exit_code);
}
