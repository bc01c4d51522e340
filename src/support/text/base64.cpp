#include "support/text/base64.h"

#include <cstdint>

namespace util {

namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int value_of(char c) {
    for (int i = 0; i < 64; ++i) {
        if (alphabet[i] == c) {
            return i;
        }
    }
    return -1;
}

}  // namespace

std::string base64_encode(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::string result;
    result.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3) {
        const std::size_t count = size - i < 3 ? size - i : 3;
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < count ? bytes[i + k] : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            result += k <= count ? alphabet[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return result;
}

std::string base64_decode(const std::string& text) {
    std::string result;
    std::uint32_t group = 0;
    int bits = 0;
    for (const char c : text) {
        if (c == '\r' || c == '\n') {
            continue;
        }
        const int value = value_of(c);
        if (value < 0) {
            break;
        }
        group = group << 6 | static_cast<std::uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            result += static_cast<char>(group >> bits & 0xFF);
        }
    }
    return result;
}

}  // namespace util
