#include "support/logging/stdout_log_file.h"

#include <cstdio>

#include "support/exc/exc.h"

namespace logging::receiver {

namespace {

constexpr char border[] =
    "/////////////////////////////////////////////////////////////////////////////\n";

}  // namespace

stdout_log_file_t::stdout_log_file_t() {
    if (std::fputs(border, stdout) < 0) {
        throw exc::runtime_exc_t(std::string("Failed to initialize stdout log."));
    }
}

stdout_log_file_t::~stdout_log_file_t() {
    std::fputs(border, stdout);
}

void stdout_log_file_t::write(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    flush();
}

void stdout_log_file_t::flush() {
    std::fflush(stdout);
}

}  // namespace logging::receiver
