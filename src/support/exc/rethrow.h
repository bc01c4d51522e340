// What a catch block calls: add a line and let the same failure go on.
#pragma once

#include <exception>
#include <string>

#include <boost/shared_ptr.hpp>

#include "support/exc/exc.h"

namespace exc {

/// Adds a user line to the exception being handled and rethrows it, its dynamic type kept; what is
/// not of the family becomes a runtime_exc_t with its text first. Only inside a catch block.
[[noreturn]] void rethrow_with(const std::string& message, const std::exception& cause);
[[noreturn]] void rethrow_with(const std::string& format, const std::string& a,
                               const std::exception& cause);
[[noreturn]] void rethrow_with(const std::string& format, const std::string& a,
                               const std::string& b, const std::exception& cause);

/// The same with a trace line.
[[noreturn]] void rethrow_with_trace(const std::string& message, const std::exception& cause);
[[noreturn]] void rethrow_with_trace(const std::string& format, const std::string& a,
                                     const std::exception& cause);
[[noreturn]] void rethrow_with_trace(const std::string& format, const std::string& a,
                                     const std::string& b, const std::exception& cause);
[[noreturn]] void rethrow_with_trace(const std::string& format, const std::string& a,
                                     const std::string& b, const std::string& c,
                                     const std::exception& cause);

/// A copy of the failure that another thread can rethrow.
boost::shared_ptr<exc_base_t> capture_exception(const std::exception& cause);

}  // namespace exc
