// A guard against faults in foreign code.
#pragma once

#include "platform/platform.h"

namespace platform {

/// Calls `body(context)`; true when it returned. False when an access violation, a division by
/// zero, an illegal instruction, a stack overflow or RaiseException ended it, with the Windows code
/// in `fault_code`; destructors of the frames that were left have then not run. C++ exceptions
/// pass.
bool call_guarded(void (*body)(void*), void* context, DWORD& fault_code);

}  // namespace platform
