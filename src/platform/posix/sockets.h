// Sockets: the system's own, with what Windows' names add.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/posix/types.h"

#define INVALID_SOCKET (-1)
#define MAKEWORD(low, high) static_cast<WORD>((low) | (high) << 8)

using SOCKET = int;
struct WSADATA {};

inline int WSAStartup(WORD, WSADATA*) {
    return 0;
}

inline int WSACleanup() {
    return 0;
}

#define WSA_FLAG_NO_HANDLE_INHERIT 0x80

inline SOCKET WSASocketW(int family, int type, int protocol, void*, unsigned, DWORD flags) {
    return socket(family, type | (flags & WSA_FLAG_NO_HANDLE_INHERIT ? SOCK_CLOEXEC : 0), protocol);
}

inline int closesocket(SOCKET socket) {
    return close(socket);
}
