#include "support/exc/rethrow.h"

#include <boost/make_shared.hpp>
#include <boost/system/system_error.hpp>

#include "support/text/convert.h"
#include "support/text/format.h"

namespace exc {

using util::format_message;

namespace {

using add_line_t = void (exc_base_t::*)(const std::string&);

[[noreturn]] void rethrow_adding(add_line_t add, const std::string& line,
                                 const std::exception& cause) {
    if (const auto* own = dynamic_cast<const exc_base_t*>(&cause)) {
        // The object in flight is not const; only the handler's view of it is.
        (const_cast<exc_base_t*>(own)->*add)(line);
        throw;
    }
    std::string text = cause.what() ? cause.what() : "";
    std::uint32_t code = 0;
    if (const auto* system = dynamic_cast<const boost::system::system_error*>(&cause)) {
        text = util::ansi_to_utf8(text);
        code = static_cast<std::uint32_t>(system->code().value());
    }
    runtime_exc_t failure(text, code);
    (failure.*add)(line);
    throw failure;
}

}  // namespace

void rethrow_with(const std::string& message, const std::exception& cause) {
    rethrow_adding(&exc_base_t::add_message, message, cause);
}

void rethrow_with(const std::string& format, const std::string& a, const std::exception& cause) {
    rethrow_with(format_message(format, a), cause);
}

void rethrow_with(const std::string& format, const std::string& a, const std::string& b,
                  const std::exception& cause) {
    rethrow_with(format_message(format, a, b), cause);
}

void rethrow_with_trace(const std::string& message, const std::exception& cause) {
    rethrow_adding(&exc_base_t::add_trace, message, cause);
}

void rethrow_with_trace(const std::string& format, const std::string& a,
                        const std::exception& cause) {
    rethrow_with_trace(format_message(format, a), cause);
}

void rethrow_with_trace(const std::string& format, const std::string& a, const std::string& b,
                        const std::exception& cause) {
    rethrow_with_trace(format_message(format, a, b), cause);
}

void rethrow_with_trace(const std::string& format, const std::string& a, const std::string& b,
                        const std::string& c, const std::exception& cause) {
    rethrow_with_trace(format_message(format, a, b, c), cause);
}

boost::shared_ptr<exc_base_t> capture_exception(const std::exception& cause) {
    if (const auto* own = dynamic_cast<const exc_base_t*>(&cause)) {
        return own->clone();
    }
    return boost::make_shared<runtime_exc_t>(std::string(cause.what() ? cause.what() : ""));
}

}  // namespace exc
