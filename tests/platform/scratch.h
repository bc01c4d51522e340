// The machine of this program's tests, and a folder of it for their files.
#pragma once

#include <string>

#include "machine.h"
#include "platform/platform.h"

/// Made before the first test and the same for all.
const machine_t& machine();

/// Whether Windows is Wine, which falls short of it here and there: the tests that meet that say
/// what Windows does and take both answers.
bool is_wine();

/// `name` in a folder of drive C: that goes with the machine.
std::wstring scratch_path(const std::wstring& name);

void remove_scratch(const std::wstring& path);

HANDLE open_scratch(const std::wstring& path, DWORD access, DWORD share,
                    DWORD disposition = OPEN_ALWAYS, DWORD flags = FILE_ATTRIBUTE_NORMAL);

/// The exact bytes, by way of the platform's own calls.
void write_scratch(const std::wstring& path, const std::string& text);
