#include "support/exc/exc.h"

#include <cstdio>

#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "support/exc/system_text.h"
#include "support/text/format.h"

namespace exc {

using util::format_message;

namespace {

std::string hex_code(std::uint32_t code) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(code));
    return text;
}

}  // namespace

exc_base_t::exc_base_t() : m_thread_id(GetCurrentThreadId()) {}

exc_base_t::exc_base_t(const std::string& text) : exc_base_t() {
    add_message(text);
}

boost::shared_ptr<exc_base_t> exc_base_t::clone() const {
    return boost::make_shared<exc_base_t>(*this);
}

void exc_base_t::rethrow() const {
    throw exc_base_t(*this);
}

void exc_base_t::serialize(byte_writer_t& writer) const {
    writer.write_uint32(static_cast<std::uint32_t>(chain.size()));
    for (const entry_t& entry : chain) {
        writer.write_string(entry.text);
        writer.write_bool(entry.is_trace);
    }
    writer.write_uint32(static_cast<std::uint32_t>(details_order.size()));
    for (const std::string& key : details_order) {
        writer.write_string(key);
        writer.write_string(details.at(key));
    }
}

void exc_base_t::deserialize(byte_reader_t& reader) {
    std::vector<entry_t> read_chain = chain;
    for (std::uint32_t count = reader.read_uint32(); count > 0; --count) {
        std::string text = reader.read_string();
        read_chain.push_back({std::move(text), reader.read_bool()});
    }
    details_t read_details;
    std::vector<std::string> read_order;
    for (std::uint32_t count = reader.read_uint32(); count > 0; --count) {
        const std::string key = reader.read_string();
        read_details[key] = reader.read_string();
        read_order.push_back(key);
    }
    chain.swap(read_chain);
    details.swap(read_details);
    details_order.swap(read_order);
    rebuild();
}

void exc_base_t::translate(const std::function<std::string(const std::string&)>& functor) {
    for (entry_t& entry : chain) {
        entry.text = functor(entry.text);
    }
    rebuild();
}

void exc_base_t::add_message(const std::string& text) {
    chain.push_back({text, false});
    rebuild();
}

void exc_base_t::add_trace(const std::string& text) {
    chain.push_back({text, true});
    rebuild();
}

void exc_base_t::merge_details(const details_t& other) {
    for (const auto& [key, value] : other) {
        if (details.emplace(key, value).second) {
            details_order.push_back(key);
        }
    }
}

void exc_base_t::rebuild() {
    message.clear();
    plain_message.clear();
    for (const entry_t& entry : chain) {
        if (&entry != &chain.front()) {
            message += '\n';
            plain_message += '\n';
        }
        plain_message += entry.text;
        if (entry.is_trace) {
            message += "--tr:";
        }
        message += entry.text;
    }
}

runtime_exc_t::runtime_exc_t(const std::string& text, std::uint32_t code)
    : exc_base_t(text), m_code(code) {}

runtime_exc_t::runtime_exc_t(const std::string& format, const std::string& a)
    : exc_base_t(format_message(format, a)) {}

runtime_exc_t::runtime_exc_t(const std::string& format, const std::string& a, const std::string& b)
    : exc_base_t(format_message(format, a, b)) {}

runtime_exc_t::runtime_exc_t(const std::string& format, const std::string& a, const std::string& b,
                             const std::string& c)
    : exc_base_t(format_message(format, a, b, c)) {}

boost::shared_ptr<exc_base_t> runtime_exc_t::clone() const {
    return boost::make_shared<runtime_exc_t>(*this);
}

void runtime_exc_t::rethrow() const {
    throw runtime_exc_t(*this);
}

void runtime_exc_t::deserialize(byte_reader_t& reader) {
    exc_base_t::deserialize(reader);
    m_code = reader.read_uint32();
}

void runtime_exc_t::serialize(byte_writer_t& writer) const {
    exc_base_t::serialize(writer);
    writer.write_uint32(m_code);
}

win_sys_exc_t::win_sys_exc_t(std::uint32_t code) : m_code(code) {
    add_message(system_error_text(code));
    add_trace(format_message("Error code: %1", hex_code(code)));
}

win_sys_exc_t::win_sys_exc_t(const std::string& text, std::uint32_t code) : m_code(code) {
    add_message(system_error_text(code));
    add_message(text);
    add_trace(format_message("Error code: %1", hex_code(code)));
}

win_sys_exc_t::win_sys_exc_t(const std::string& format, const std::string& a, std::uint32_t code)
    : win_sys_exc_t(format_message(format, a), code) {}

win_sys_exc_t::win_sys_exc_t(const std::string& format, const std::string& a, const std::string& b,
                             std::uint32_t code)
    : win_sys_exc_t(format_message(format, a, b), code) {}

win_sys_exc_t::win_sys_exc_t(const std::string& format, const std::string& a, const std::string& b,
                             const std::string& c, std::uint32_t code)
    : win_sys_exc_t(format_message(format, a, b, c), code) {}

boost::shared_ptr<exc_base_t> win_sys_exc_t::clone() const {
    return boost::make_shared<win_sys_exc_t>(*this);
}

void win_sys_exc_t::rethrow() const {
    throw win_sys_exc_t(*this);
}

void win_sys_exc_t::deserialize(byte_reader_t& reader) {
    exc_base_t::deserialize(reader);
    m_code = reader.read_uint32();
}

void win_sys_exc_t::serialize(byte_writer_t& writer) const {
    exc_base_t::serialize(writer);
    writer.write_uint32(m_code);
}

com_exc_t::com_exc_t(std::int32_t hresult, const std::string& text) : m_code(hresult) {
    const std::string description = com_error_description();
    add_message(description + " Error code: " + hex_code(static_cast<std::uint32_t>(hresult)));
    const std::string again = com_error_description();
    if (!again.empty()) {
        add_message(again);
    }
    add_message(text);
}

boost::shared_ptr<exc_base_t> com_exc_t::clone() const {
    return boost::make_shared<com_exc_t>(*this);
}

void com_exc_t::rethrow() const {
    throw com_exc_t(*this);
}

void com_exc_t::deserialize(byte_reader_t& reader) {
    exc_base_t::deserialize(reader);
    m_code = static_cast<std::int32_t>(reader.read_uint32());
}

void com_exc_t::serialize(byte_writer_t& writer) const {
    exc_base_t::serialize(writer);
    writer.write_uint32(static_cast<std::uint32_t>(m_code));
}

file_locked_exc_t::file_locked_exc_t(const std::string& locked_path)
    : exc_base_t(format_message("File [%1] is locked.", locked_path)), m_path(locked_path) {}

boost::shared_ptr<exc_base_t> file_locked_exc_t::clone() const {
    return boost::make_shared<file_locked_exc_t>(*this);
}

void file_locked_exc_t::rethrow() const {
    throw file_locked_exc_t(*this);
}

}  // namespace exc
