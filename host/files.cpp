#include "host/files.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "host/system.h"

namespace host {

namespace fs = std::filesystem;

std::string read_text(const std::string& file) {
    std::ifstream stream(fs::u8path(file), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
        throw std::runtime_error("cannot read " + file);
    }
    static const std::string byte_order_mark = "\xEF\xBB\xBF";
    return text.rfind(byte_order_mark, 0) == 0 ? text.substr(byte_order_mark.size()) : text;
}

std::string read_option_file(const arguments_t& arguments, const std::string& option) {
    return arguments.has(option) ? read_text(arguments.get(option)) : "";
}

bool has_content(const std::string& file) {
    std::error_code absent;
    const auto size = fs::file_size(fs::u8path(file), absent);
    return !absent && size > 0;
}

void write_whole(const std::string& file, const std::string& text) {
    const fs::path target = fs::u8path(file);
    const fs::path half = fs::u8path(file + ".part");
    std::error_code error;
    {
        std::ofstream stream(half, std::ios::binary);
        stream << text;
        if (!stream.flush()) {
            throw std::runtime_error("cannot write " + half.u8string());
        }
    }
    flush_to_disk(half);
    fs::rename(half, target, error);
    if (error) {
        throw std::runtime_error("cannot write " + file + ": " + error.message());
    }
}

}  // namespace host
