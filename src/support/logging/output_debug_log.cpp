#include "support/logging/output_debug_log.h"

#include "support/exc/exc.h"
#include "support/win/registry.h"

namespace logging::receiver {

namespace {

constexpr char key_path[] = "SOFTWARE\\TarnY\\Tarny NFS";

}  // namespace

COutputDebugStringLog::~COutputDebugStringLog() {
    if (udp != INVALID_SOCKET) {
        closesocket(udp);
    }
    if (sockets_started) {
        WSACleanup();
    }
}

void COutputDebugStringLog::open() {
    WSADATA data;
    sockets_started = WSAStartup(MAKEWORD(2, 2), &data) == 0;
    udp = WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 0, WSA_FLAG_NO_HANDLE_INHERIT);
    win::win_reg_key_t key;
    const LONG error = RegOpenKeyExA(HKEY_LOCAL_MACHINE, key_path, 0, KEY_READ, &key);
    if (error != ERROR_SUCCESS) {
        throw exc::win_sys_exc_t("Failed to open registry key [%1].", key_path,
                                 static_cast<std::uint32_t>(error));
    }
    std::string host;
    key.query_string("ExtLogHost", host);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(host.c_str());
    address.sin_port = htons(static_cast<std::uint16_t>(key.query_dword_or("ExtLogPort", 0)));
    enabled = key.query_bool_or("ExtLogEnabled", false);
}

void COutputDebugStringLog::write(const std::string& line) {
    OutputDebugStringA(line.c_str());
    if (!opened) {
        opened = true;
        open();
    }
    if (enabled) {
        sendto(udp, line.data(), static_cast<int>(line.size()), 0,
               reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
}

}  // namespace logging::receiver
