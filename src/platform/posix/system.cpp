#include "platform/system.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <boost/thread/thread.hpp>

#include "platform/posix/command_line.h"
#include "platform/posix/file_object.h"
#include "platform/posix/files.h"
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

// What the C runtime of Windows makes of a failure.
int runtime_error(DWORD code) {
    switch (code) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
            return ENOENT;
        case ERROR_TOO_MANY_OPEN_FILES:
            return EMFILE;
        case ERROR_DISK_FULL:
            return ENOSPC;
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
        case ERROR_WRITE_PROTECT:
            return EACCES;
        default:
            return EINVAL;
    }
}

}  // namespace

const char* const client_library_name = "libclntsh.so";

int run_system(const std::string& ansi_command) {
    if (failing(__func__)) return -1;
    if (ansi_command == "pause") return pause_for_operator();
    if (ansi_command == "pause <nul") {
        std::printf("Press Enter to continue . . . \n");
        return 0;
    }
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
    const HANDLE handle = open_file(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    if (handle == INVALID_HANDLE_VALUE) {
        errno = runtime_error(GetLastError());
        return -1;
    }
    // The descriptor goes on holding the share mode of the handle.
    const int file = fcntl(find<file_object>(handle)->descriptor(), F_DUPFD_CLOEXEC, 0);
    remove_handle(handle);
    return file;
}

void close_file(int descriptor) {
    close(descriptor);
}

// Here the others run on beside the destructors.
bool is_process_ending() {
    return false;
}

boost::mutex& process_start_mutex() {
    static boost::mutex mutex;
    return mutex;
}

std::array<std::uint16_t, 4> module_version() {
    return {ORALIB_VERSION_MAJOR, ORALIB_VERSION_MINOR, ORALIB_VERSION_PATCH, 0};
}

}  // namespace platform
