#include "host/system.h"

#include <fcntl.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "sandbox/native.h"
#include "sandbox/paths.h"

namespace host {

const char* const module_file_name = "liboralib.so";
const char* const client_file_name = "libclntsh.so";

void search_no_libraries_here() {}  // nobody looks there

std::filesystem::path executable_folder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

const char* const hint_without_sandbox =
    "Outside Windows the module needs a sandbox: 'sandbox create DIR' makes one, --sandbox DIR "
    "names it.";

std::string default_log_path() {
    return "C:\\ProgramData\\Tarny\\ClientVault\\oralib-host.log";
}

std::filesystem::path native_path(const std::string& module_path) {
    return sandbox::native_path(std::filesystem::u8path(sandbox::environment("ORALIB_SANDBOX")),
                                module_path);
}

std::vector<std::string> command_line_words(int count, char** words) {
    return {words + (count > 0 ? 1 : 0), words + count};
}

// A sandbox's machine has Windows 1252, which is Latin-1 where names of databases are concerned.
std::string ansi_to_utf8(const std::string& text) {
    std::string utf8;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xC0 | byte >> 6);
            utf8 += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return utf8;
}

void flush_to_disk(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

utf8_output_t::utf8_output_t() : m_before(0) {}
utf8_output_t::~utf8_output_t() = default;

bool is_error_output_a_terminal() {
    return isatty(STDERR_FILENO) == 1;
}

quiet_output_t::quiet_output_t() {
    std::cout.flush();
    std::fflush(stdout);
    m_saved = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
}

quiet_output_t::~quiet_output_t() {
    std::cout.flush();
    std::fflush(stdout);
    if (m_saved >= 0) {
        dup2(m_saved, STDOUT_FILENO);
        close(m_saved);
    }
}

namespace {

volatile sig_atomic_t g_interrupted = 0;

void note_signal(int signal) {
    g_interrupted = signal;
}

}  // namespace

std::string read_hidden_line(const std::string& prompt) {
    const int terminal = open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC);
    termios shown{};
    if (terminal < 0 || tcgetattr(terminal, &shown) != 0) {
        throw std::runtime_error("there is no terminal to ask for the password");
    }
    // Ctrl+C must not leave the operator with a terminal that echoes nothing.
    struct sigaction on_signal {};
    struct sigaction before {};
    on_signal.sa_handler = note_signal;
    sigaction(SIGINT, &on_signal, &before);
    termios hidden = shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(terminal, TCSAFLUSH, &hidden);

    std::ofstream screen("/dev/tty");
    screen << prompt << std::flush;
    std::string line;
    char next = 0;
    while (read(terminal, &next, 1) == 1 && next != '\n') {
        line += next;
    }
    screen << std::endl;

    tcsetattr(terminal, TCSAFLUSH, &shown);
    sigaction(SIGINT, &before, nullptr);
    close(terminal);
    if (g_interrupted != 0) {
        raise(g_interrupted);
    }
    return line;
}

}  // namespace host
