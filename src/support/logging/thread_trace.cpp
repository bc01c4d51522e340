#include "support/logging/thread_trace.h"

#include "platform/platform.h"

namespace monitoring {

void CThreadTrace::push(const std::string& text) {
    stack.push_back({text, GetTickCount()});
}

void CThreadTrace::pop() {
    if (!stack.empty()) {
        stack.pop_back();
    }
}

void CThreadStatesCollection::push(const std::string& text) {
    traces[GetCurrentThreadId()].push(text);
}

void CThreadStatesCollection::pop() {
    const auto found = traces.find(GetCurrentThreadId());
    if (found == traces.end()) {
        return;
    }
    found->second.pop();
    if (found->second.entries().empty()) {
        traces.erase(found);
    }
}

CThreadTrace CThreadStatesCollection::get(std::uint32_t thread_id) const {
    const auto found = traces.find(thread_id);
    return found == traces.end() ? CThreadTrace() : found->second;
}

}  // namespace monitoring
