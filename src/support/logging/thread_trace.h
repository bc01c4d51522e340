// Which log scopes each thread is in at the moment.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace monitoring {

/// The open scopes of one thread, outermost first.
class CThreadTrace {
  public:
    struct entry_t {
        std::string text;
        std::uint32_t opened;  ///< GetTickCount at its opening, in milliseconds
    };

    void push(const std::string& text);
    void pop();
    const std::vector<entry_t>& entries() const { return stack; }

  private:
    std::vector<entry_t> stack;
};

/// The traces of all threads by thread id, called under the log's lock. What a thread that was
/// given up on had open stays.
class CThreadStatesCollection {
  public:
    void push(const std::string& text);
    void pop();
    /// A copy; empty for a thread that is in no scope.
    CThreadTrace get(std::uint32_t thread_id) const;

  private:
    std::map<std::uint32_t, CThreadTrace> traces;
};

}  // namespace monitoring
