// The platform's own names. Elsewhere than on Windows the subset that the library uses is declared
// here and behaves as on Windows, error codes included, with one difference: a `wchar_t` holds one
// UTF-16 code unit but is wider, so byte counts of wide text are in units of sizeof(wchar_t).
#pragma once

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// clang-format off
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>
#include <rpc.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <stdlib.h>
#include <userenv.h>
// clang-format on
#else
#include "platform/posix/debugger.h"
#include "platform/posix/errors.h"
#include "platform/posix/files.h"
#include "platform/posix/host.h"
#include "platform/posix/modules.h"
#include "platform/posix/processes.h"
#include "platform/posix/registry.h"
#include "platform/posix/sockets.h"
#include "platform/posix/text.h"
#include "platform/posix/threads.h"
#include "platform/posix/time.h"
#include "platform/posix/tokens.h"
#include "platform/posix/types.h"
#endif
