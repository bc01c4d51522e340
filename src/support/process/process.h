// A child process.
#pragma once

#include <cstdint>

#include <boost/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include "platform/platform.h"
#include "support/process/pipe.h"
#include "support/win/handle.h"

namespace process_subsystem::process {

/// Any thread may call; the operations follow one another.
class IProcess {
  public:
    IProcess() = default;
    IProcess(const IProcess&) = delete;
    IProcess& operator=(const IProcess&) = delete;

    virtual std::uint32_t get_pid() = 0;
    virtual void set_priority(std::uint32_t priority_class) = 0;
    /// Throws runtime_exc_t while the process is active.
    virtual std::uint32_t get_exit_code() = 0;
    /// The exit code. A process that is still active after that time is ended, and runtime_exc_t
    /// thrown.
    virtual std::uint32_t wait(std::uint32_t seconds) = 0;
    virtual void terminate() = 0;
    virtual bool is_active() = 0;
    virtual ~IProcess() = default;
};

/// Owns a process that was started: its destructor waits `stop_wait_seconds` and then ends it,
/// unless it was detached.
class CWinProcess : public IProcess {
  public:
    static constexpr std::uint32_t default_wait_seconds = 60;

    CWinProcess(HANDLE process, HANDLE thread, boost::shared_ptr<pipe::CWinPipe> stdin_pipe,
                boost::shared_ptr<pipe::CWinPipe> stdout_pipe,
                std::uint32_t stop_wait_seconds = default_wait_seconds, bool detached = false);

    std::uint32_t get_pid() override;
    void set_priority(std::uint32_t priority_class) override;
    std::uint32_t get_exit_code() override;
    std::uint32_t wait(std::uint32_t seconds) override;
    void terminate() override;
    bool is_active() override;
    ~CWinProcess() override;

  private:
    const bool detached;
    const std::uint32_t stop_wait_seconds;
    std::uint32_t pid;
    win::win_handle_t process;
    win::win_handle_t thread;
    boost::shared_ptr<pipe::CWinPipe> stdin_pipe;
    boost::shared_ptr<pipe::CWinPipe> stdout_pipe;
    boost::recursive_mutex lock;
};

}  // namespace process_subsystem::process
