#include "host/progress.h"

#include <chrono>
#include <iostream>

#include "host/system.h"

namespace host {

progress_t::progress_t(std::string text) : m_text(std::move(text)) {
    if (is_error_output_a_terminal()) {
        m_thread = std::thread([this] { show(); });
    }
}

progress_t::~progress_t() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_done = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void progress_t::show() {
    std::unique_lock<std::mutex> lock(m_mutex);
    std::string line;
    for (int seconds = 1;
         !m_wake.wait_for(lock, std::chrono::seconds(1), [this] { return m_done; }); ++seconds) {
        line = m_text + " ... " + std::to_string(seconds) + " s";
        std::cerr << "\r" << line << std::flush;
    }
    if (!line.empty()) {
        std::cerr << "\r" << std::string(line.size(), ' ') << "\r" << std::flush;
    }
}

}  // namespace host
