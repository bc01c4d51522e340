// Shows at a terminal that long work is alive.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace host {

/// While it lives, standard error shows "TEXT ... N s" from the second second on, and nothing of
/// it afterwards. Where standard error is no terminal, it does nothing.
class progress_t {
  public:
    explicit progress_t(std::string text);
    ~progress_t();
    progress_t(const progress_t&) = delete;
    progress_t& operator=(const progress_t&) = delete;

  private:
    void show();

    std::string m_text;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_done = false;
    std::thread m_thread;
};

}  // namespace host
