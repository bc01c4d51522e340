#include "platform/posix/handles.h"

#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <fstream>

#include "platform/posix/faults.h"

namespace platform {

namespace {

const char* const kinds[] = {"events", "files", "keys", "pipes", "processes", "threads", "tokens"};

struct fault {
    unsigned remaining;
    DWORD code;
    bool stays = false;
};

// Constructed before and destroyed after everything else in the module that may hold a handle.
struct layer_state {
    std::mutex mutex;
    std::map<HANDLE, std::shared_ptr<object>> handles;
    std::uintptr_t last_handle = 0;
    std::map<std::string, fault, std::less<>> faults;
    std::map<std::string, unsigned, std::less<>> calls;
    bool fault_from_environment = false;
    unsigned long calls_to_the_end = 0;  // 0: there is none

    layer_state();
    ~layer_state();
    std::map<std::string, int> count() const;
};

// False until somebody asks for faults or counts: then every call would pay for them.
std::atomic<bool> g_watching{false};

__attribute__((init_priority(102))) layer_state g_layer;

layer_state::layer_state() {
    if (const char* end_at = getenv("ORALIB_PLATFORM_END_AT")) {
        calls_to_the_end = strtoul(end_at, nullptr, 10);
        g_watching = true;
    }
    const char* setting = getenv("ORALIB_PLATFORM_FAULT");
    const std::string text = setting ? setting : "";
    const std::size_t first = text.find(':');
    const std::size_t second = text.find(':', first + 1);
    if (first == std::string::npos || second == std::string::npos) return;
    faults[text.substr(0, first)] = {
        static_cast<unsigned>(strtoul(text.c_str() + first + 1, nullptr, 10)),
        static_cast<DWORD>(strtoul(text.c_str() + second + 1, nullptr, 0)), false};
    fault_from_environment = true;
    g_watching = true;
}

layer_state::~layer_state() {
    if (const char* path = getenv("ORALIB_HANDLE_REPORT")) {
        std::string line;
        for (const auto& [kind, open] : count()) {
            line += (line.empty() ? "" : " ") + kind + "=" + std::to_string(open);
        }
        if (fault_from_environment) {
            line += faults.empty() ? " fault=spent" : " fault=unspent";
        }
        std::ofstream(path, std::ios::app) << line << "\n";
    }
}

std::map<std::string, int> layer_state::count() const {
    std::map<std::string, int> counts;
    for (const char* kind : kinds) {
        counts[kind] = 0;
    }
    for (const auto& entry : handles) {
        ++counts[entry.second->kind];
    }
    return counts;
}

}  // namespace

HANDLE add_handle(std::shared_ptr<object> target) {
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    g_layer.last_handle += 4;
    const HANDLE handle = reinterpret_cast<HANDLE>(g_layer.last_handle);
    g_layer.handles.emplace(handle, std::move(target));
    return handle;
}

bool remove_handle(HANDLE handle) {
    std::shared_ptr<object> closed;
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    const auto found = g_layer.handles.find(handle);
    if (found == g_layer.handles.end()) return fail(ERROR_INVALID_HANDLE);
    closed = std::move(found->second);
    g_layer.handles.erase(found);
    return true;
}

std::shared_ptr<object> find_object(HANDLE handle) {
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    const auto found = g_layer.handles.find(handle);
    if (found != g_layer.handles.end()) return found->second;
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

std::vector<int> inheritable_descriptors() {
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    std::vector<int> result;
    for (const auto& entry : g_layer.handles) {
        const int descriptor = entry.second->descriptor();
        if (entry.second->inheritable && descriptor >= 0) result.push_back(descriptor);
    }
    return result;
}

bool failing(const char* function) {
    if (!g_watching.load(std::memory_order_relaxed)) return false;
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    if (g_layer.calls_to_the_end > 0 && --g_layer.calls_to_the_end == 0) _exit(1);
    auto call = g_layer.calls.find(function);
    if (call == g_layer.calls.end()) call = g_layer.calls.emplace(function, 0).first;
    ++call->second;
    const auto armed = g_layer.faults.find(function);
    if (armed == g_layer.faults.end()) return false;
    if (!armed->second.stays && --armed->second.remaining > 0) return false;
    SetLastError(armed->second.code);
    if (!armed->second.stays) g_layer.faults.erase(armed);
    return true;
}

namespace faults {

void arm(const std::string& function, unsigned nth, DWORD code) {
    g_watching = true;
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    g_layer.faults[function] = {nth, code, false};
}

void arm_all(const std::string& function, DWORD code) {
    g_watching = true;
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    g_layer.faults[function] = {0, code, true};
}

void disarm() {
    g_watching = true;
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    g_layer.faults.clear();
    g_layer.calls.clear();
}

unsigned calls(const std::string& function) {
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    const auto found = g_layer.calls.find(function);
    return found == g_layer.calls.end() ? 0 : found->second;
}

std::map<std::string, int> open_handles() {
    const std::lock_guard<std::mutex> lock(g_layer.mutex);
    return g_layer.count();
}

}  // namespace faults

}  // namespace platform

using namespace platform;

BOOL CloseHandle(HANDLE handle) {
    if (failing(__func__)) return FALSE;
    if (handle == GetCurrentThread() || handle == GetCurrentProcess()) return TRUE;
    return remove_handle(handle);
}

BOOL SetHandleInformation(HANDLE handle, DWORD mask, DWORD flags) {
    if (failing(__func__)) return FALSE;
    const auto target = find_object(handle);
    if (!target) return FALSE;
    if (mask & HANDLE_FLAG_INHERIT) target->inheritable = (flags & HANDLE_FLAG_INHERIT) != 0;
    return TRUE;
}
