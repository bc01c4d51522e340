// What a debugger would show.
#pragma once

#include "platform/posix/types.h"

/// Appends the text to run/debugger.log of the sandbox.
void OutputDebugStringA(LPCSTR text);
