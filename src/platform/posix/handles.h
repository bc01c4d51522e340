// What handles stand for.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/posix/errors.h"
#include "platform/posix/threads.h"

namespace platform {

/// What a handle refers to. Shared by its handles and by the calls in progress.
class object {
  public:
    explicit object(const char* kind_name) : kind(kind_name) {}
    virtual ~object() = default;
    object(const object&) = delete;
    object& operator=(const object&) = delete;

    /// Becomes readable when the object is signalled; -1 for what cannot be waited for.
    virtual int wait_descriptor() const { return -1; }
    /// Whether the object is signalled now; an automatic event is thereby reset.
    virtual bool take() { return false; }
    /// The descriptor that a child process would inherit, or -1.
    virtual int descriptor() const { return -1; }

    const char* const kind;
    std::atomic<bool> inheritable{false};
};

HANDLE add_handle(std::shared_ptr<object> target);
/// False with ERROR_INVALID_HANDLE if there is no such handle.
bool remove_handle(HANDLE handle);
/// The object, or null with ERROR_INVALID_HANDLE.
std::shared_ptr<object> find_object(HANDLE handle);
/// Descriptors of all objects with an inheritable handle.
std::vector<int> inheritable_descriptors();

template <typename Object>
std::shared_ptr<Object> find(HANDLE handle) {
    auto result = std::dynamic_pointer_cast<Object>(find_object(handle));
    if (!result) SetLastError(ERROR_INVALID_HANDLE);
    return result;
}

/// Counts the call of `function`; true, with the last error set, if it was told to fail.
bool failing(const char* function);

/// Sets the last error and returns FALSE.
inline BOOL fail(DWORD code) {
    SetLastError(code);
    return FALSE;
}

}  // namespace platform
