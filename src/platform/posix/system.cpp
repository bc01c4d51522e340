#include "platform/system.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <boost/thread/thread.hpp>

#include "platform/paths.h"
#include "platform/posix/command_line.h"
#include "platform/posix/handles.h"
#include "platform/posix/sandbox.h"
#include "platform/posix/spawn.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

// The interpreter's own command: waits for the operator's line, or the end of standard input.
int pause_for_operator() {
    std::printf("Press Enter to continue . . . ");
    std::fflush(stdout);
    for (int c = std::getchar(); c != '\n' && c != EOF;) {
        c = std::getchar();
    }
    std::printf("\n");
    return 0;
}

}  // namespace

const char* const client_library_name = "libclntsh.so";

int run_system(const std::string& ansi_command) {
    if (failing(__func__)) return -1;
    if (ansi_command == "pause") return pause_for_operator();
    spawn_request request;
    descriptor_owner output;
    interpret_command(widen_ansi(ansi_command), request, output);
    request.environment = environment_entries();
    request.standard[0] = 0;
    request.standard[1] = output.get() >= 0 ? output.get() : 1;
    request.standard[2] = 2;
    spawned started;
    if (spawn(request, started) != 0) return -1;
    output.reset();
    wait_readable(started.status.get(), INFINITE);
    const int status = read_status(started.status.get());
    reap_monitor(started.monitor);
    return static_cast<int>(exit_code_of(status));
}

int create_file(const std::wstring& path) {
    return open(native_path(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
}

void close_file(int descriptor) {
    close(descriptor);
}

// Here the others run on beside the destructors.
bool is_process_ending() {
    return false;
}

void keep_loaded() {
    boost::thread([] {
        Dl_info module;
        if (dladdr(reinterpret_cast<void*>(&keep_loaded), &module) != 0) {
            dlopen(module.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
        }
    }).detach();
}

boost::mutex& process_start_mutex() {
    static boost::mutex mutex;
    return mutex;
}

std::array<std::uint16_t, 4> module_version() {
    return {ORALIB_VERSION_MAJOR, ORALIB_VERSION_MINOR, ORALIB_VERSION_PATCH, 0};
}

}  // namespace platform
