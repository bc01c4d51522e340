// Events, and waiting for whatever can be signalled.
#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

#include "platform/posix/descriptor.h"
#include "platform/posix/handles.h"
#include "platform/posix/threads.h"
#include "platform/posix/time.h"

namespace platform {

void descriptor_owner::reset(int descriptor) {
    if (held >= 0) close(held);
    held = descriptor;
}

latch::latch(bool set_now) : counter(eventfd(set_now ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void latch::set() {
    order.fetch_add(1, std::memory_order_release);
    eventfd_write(counter.get(), 1);
}

bool latch::is_set() const {
    const bool result = wait_readable(counter.get(), 0);
    order.load(std::memory_order_acquire);
    return result;
}

bool latch::consume() {
    eventfd_t count = 0;
    const bool result = eventfd_read(counter.get(), &count) == 0;
    order.load(std::memory_order_acquire);
    return result;
}

bool wait_readable(int descriptor, unsigned milliseconds) {
    const DWORD begin = GetTickCount();
    for (;;) {
        const DWORD passed = GetTickCount() - begin;
        const bool forever = milliseconds == INFINITE;
        const DWORD left = forever || passed < milliseconds ? milliseconds - passed : 0;
        pollfd request = {descriptor, POLLIN, 0};
        const int timeout = forever ? -1 : static_cast<int>(std::min(left, 0x7FFFFFFFu));
        const int ready = poll(&request, 1, timeout);
        if (ready > 0) return true;
        if (!forever && GetTickCount() - begin >= milliseconds) return false;
    }
}

namespace {

class event_object : public object {
  public:
    event_object(bool manual_reset, bool initial_state)
        : object("events"), manual(manual_reset), state(initial_state) {}
    int wait_descriptor() const override { return state.wait_descriptor(); }
    bool take() override { return manual ? state.is_set() : state.consume(); }

    const bool manual;
    latch state;
};

HANDLE create_event(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state) {
    const auto event = std::make_shared<event_object>(manual_reset, initial_state);
    if (event->wait_descriptor() < 0) {
        SetLastError(ERROR_NO_SYSTEM_RESOURCES);
        return nullptr;
    }
    event->inheritable = attributes && attributes->bInheritHandle;
    SetLastError(ERROR_SUCCESS);
    return add_handle(event);
}

DWORD wait_for(object& target, DWORD milliseconds) {
    const DWORD begin = GetTickCount();
    for (;;) {
        if (target.take()) return WAIT_OBJECT_0;
        const DWORD passed = GetTickCount() - begin;
        if (milliseconds != INFINITE && passed >= milliseconds) return WAIT_TIMEOUT;
        const DWORD left = milliseconds == INFINITE ? INFINITE : milliseconds - passed;
        if (!wait_readable(target.wait_descriptor(), left)) return WAIT_TIMEOUT;
    }
}

}  // namespace

}  // namespace platform

using namespace platform;

HANDLE CreateEventA(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state,
                    LPCSTR name) {
    if (failing(__func__)) return nullptr;
    if (name) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    return create_event(attributes, manual_reset, initial_state);
}

BOOL SetEvent(HANDLE event) {
    if (failing(__func__)) return FALSE;
    const auto target = find<event_object>(event);
    if (!target) return FALSE;
    target->state.set();
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    if (failing(__func__)) return WAIT_FAILED;
    const std::shared_ptr<object> target = find_object(handle);
    if (!target) return WAIT_FAILED;
    if (target->wait_descriptor() < 0) {
        SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    return wait_for(*target, milliseconds);
}
