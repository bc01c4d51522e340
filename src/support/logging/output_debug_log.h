// The log in a debugger, and on another machine's screen.
#pragma once

#include "platform/platform.h"
#include "support/logging/log_file.h"

namespace logging::receiver {

/// Gives each line to the debugger, and by UDP to `ExtLogHost`, a dotted address, at `ExtLogPort`
/// where `ExtLogEnabled` is set below HKEY_LOCAL_MACHINE\SOFTWARE\TarnY\Tarny NFS. Holds nothing
/// that could be archived.
class COutputDebugStringLog : public log_file_t {
  public:
    COutputDebugStringLog() = default;
    ~COutputDebugStringLog() override;
    COutputDebugStringLog(const COutputDebugStringLog&) = delete;
    COutputDebugStringLog& operator=(const COutputDebugStringLog&) = delete;

    /// The first one looks for the other machine; throws where that key cannot be opened, and later
    /// ones go to the debugger alone.
    void write(const std::string& line) override;
    void flush() override {}
    std::wstring get_path() const override { return std::wstring(); }
    std::uint64_t get_size() override { return 0; }
    void compress_to(util::zip_writer_t&) override {}

  private:
    void open();

    bool opened = false;
    bool sockets_started = false;
    SOCKET udp = INVALID_SOCKET;
    bool enabled = false;
    sockaddr_in address = {};
};

}  // namespace logging::receiver
