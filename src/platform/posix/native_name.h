// What a Windows path means here.
#pragma once

#include <cstddef>
#include <string>

#include "platform/posix/types.h"

namespace platform {

struct native_name {
    std::string path;
    bool valid = true;          // made of characters that a name may have
    bool names_folder = false;  // by a separator at its end
};

bool is_folder(const std::string& path);

native_name to_native(const std::wstring& path);

/// The Windows code for an `errno` value; where a path is missing it depends on which part of it.
DWORD windows_error(int error, const native_name& name);
DWORD windows_error(int error);

}  // namespace platform
