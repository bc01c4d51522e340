// Failing calls of this layer on purpose, and counting what it has open. Also armed by the
// environment variable ORALIB_PLATFORM_FAULT="Function:nth:code", read when the module is loaded.
// ORALIB_PLATFORM_END_AT=N ends the process at its Nth call into the layer.
#pragma once

#include <map>
#include <string>

#include "platform/posix/types.h"

namespace platform::faults {

/// The `nth` call of `function` from now on (1 is the next) fails with `code`, once.
void arm(const std::string& function, unsigned nth, DWORD code);
/// Every call of `function` fails with `code`, until disarm.
void arm_all(const std::string& function, DWORD code);
/// Takes back every fault and sets the counts of calls to 0.
void disarm();
/// How often `function` was called since; calls are counted from the first use of the above.
unsigned calls(const std::string& function);

/// The open handles by kind: events, files, keys, pipes, processes, threads, tokens. When the
/// environment variable ORALIB_HANDLE_REPORT names a file, they are appended to it as one line when
/// the module is unloaded, with "fault=spent" or "fault=unspent" for a fault from the environment.
std::map<std::string, int> open_handles();

}  // namespace platform::faults
