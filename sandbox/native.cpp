#include "sandbox/native.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace sandbox {

void sleep_microseconds(long microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

long process_id() {
    return getpid();
}
long thread_id() {
    return syscall(SYS_gettid);
}

void sleep_forever() {
    for (;;) {
        pause();
    }
}

void appender_t::open(const std::filesystem::path& file) {
    m_file = ::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
}

void appender_t::write(const std::string& text) const {
    const auto written = ::write(m_file, text.data(), text.size());
    static_cast<void>(written);
}

appender_t::~appender_t() {
    if (is_open()) {
        ::close(m_file);
    }
}

}  // namespace sandbox
