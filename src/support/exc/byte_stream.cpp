#include "support/exc/byte_stream.h"

#include <cstring>

#include "support/exc/exc.h"
#include "support/text/format.h"

namespace exc {

namespace {

constexpr std::size_t growth_step = 0x100000;

}  // namespace

void byte_writer_t::append(const void* data, std::size_t size) {
    const std::size_t needed = buffer.size() + size;
    if (needed > buffer.capacity()) {
        buffer.reserve((needed + growth_step - 1) / growth_step * growth_step);
    }
    buffer.append(static_cast<const char*>(data), size);
}

void byte_writer_t::write_uint32(std::uint32_t value) {
    append(&value, sizeof value);
}

void byte_writer_t::write_bool(bool value) {
    const char byte = value ? 1 : 0;
    append(&byte, 1);
}

void byte_writer_t::write_string(const std::string& text) {
    write_uint32(static_cast<std::uint32_t>(text.size()));
    append(text.data(), text.size());
}

void byte_reader_t::extract(void* data, std::size_t size) {
    if (buffer.size() - position < size) {
        throw exc_base_t("Failed to extract integer value from buffer.");
    }
    std::memcpy(data, buffer.data() + position, size);
    position += size;
}

std::uint32_t byte_reader_t::read_uint32() {
    std::uint32_t value = 0;
    extract(&value, sizeof value);
    return value;
}

bool byte_reader_t::read_bool() {
    char byte = 0;
    extract(&byte, 1);
    return byte != 0;
}

std::string byte_reader_t::read_string() {
    const std::uint32_t length = read_uint32();
    if (length > buffer.size() - position) {
        throw exc_base_t(
            util::format_message("Invalid length of the string '%1'.", util::to_string(length)));
    }
    std::string text = buffer.substr(position, length);
    position += length;
    return text;
}

}  // namespace exc
