#include "support/logging/cout_multiplexor.h"

#include "support/logging/logger.h"

namespace io {

CCoutMultiplexor::~CCoutMultiplexor() {
    clear();
}

void CCoutMultiplexor::write(const std::string& text) const {
    for (const auto& sink : sinks) {
        sink->write(text);
    }
}

void CCoutMultiplexor::clear() {
    logging::g_unnamed_log.line("Clearing collection of cout multiplexors.");
    sinks.clear();
}

}  // namespace io
