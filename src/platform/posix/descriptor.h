// Owners of file descriptors.
#pragma once

#include <atomic>

namespace platform {

/// Owns a descriptor, or -1.
class descriptor_owner {
  public:
    explicit descriptor_owner(int descriptor = -1) : held(descriptor) {}
    ~descriptor_owner() { reset(); }
    descriptor_owner(const descriptor_owner&) = delete;
    descriptor_owner& operator=(const descriptor_owner&) = delete;
    int get() const { return held; }
    void reset(int descriptor = -1);
    int release() {
        const int descriptor = held;
        held = -1;
        return descriptor;
    }

  private:
    int held;
};

/// A flag that can be polled. Unlike a condition variable it is not harmed by the end of a waiter.
class latch {
  public:
    explicit latch(bool set_now = false);
    int wait_descriptor() const { return counter.get(); }
    void set();
    void clear() { consume(); }
    bool is_set() const;
    /// Whether it was set; it no longer is.
    bool consume();

  private:
    descriptor_owner counter;
    // Orders memory between the setter and a waiter.
    mutable std::atomic<unsigned> order{0};
};

/// Waits until `descriptor` is readable or hung up; false when the time ran out first.
bool wait_readable(int descriptor, unsigned milliseconds);

}  // namespace platform
