// An open file or an end of a pipe.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <string>

#include "platform/posix/descriptor.h"
#include "platform/posix/handles.h"

namespace platform {

class file_object : public object {
  public:
    file_object(const char* kind_name, int descriptor_to_own, bool may_read, bool may_write,
                bool denies_writing = false)
        : object(kind_name),
          file(descriptor_to_own),
          reads(may_read),
          writes(may_write),
          writes_alone(denies_writing),
          is_pipe(std::string(kind_name) == "pipes") {}
    int descriptor() const override { return file.get(); }

    const descriptor_owner file;
    const bool reads;
    const bool writes;
    const bool writes_alone;  ///< nobody else may write, nor lock a range
    const bool is_pipe;
};

/// CreateFileW without its faults.
HANDLE open_file(LPCWSTR path, DWORD access, DWORD share, DWORD disposition, DWORD flags,
                 bool inheritable = false);

}  // namespace platform
