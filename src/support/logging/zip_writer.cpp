#include "support/logging/zip_writer.h"

#include <exception>

#include <zlib.h>

#include "support/exc/exc.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace util {

namespace {

constexpr int gzip_window = MAX_WBITS + 16;  // a gzip header and trailer, not zlib's own
constexpr int memory_level = 8;
constexpr std::size_t piece_size = 0x10000;

}  // namespace

zip_writer_t::zip_writer_t(const std::wstring& archive_path)
    : path(to_ansi_safe(archive_path)), stream(std::make_unique<z_stream>()) {
    int code = Z_ERRNO;
    try {
        file = win::win_file_t::create_or_open(archive_path, CREATE_ALWAYS);
        code = deflateInit2(stream.get(), Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzip_window,
                            memory_level, Z_DEFAULT_STRATEGY);
    } catch (const std::exception&) {
    }
    if (code != Z_OK) {
        fail("Failed to open GZ archive [%1].", code);
    }
}

zip_writer_t::~zip_writer_t() {
    if (stream) {
        deflateEnd(stream.get());
    }
}

void zip_writer_t::add(const void* data, std::size_t size) {
    stream->next_in = static_cast<Bytef*>(const_cast<void*>(data));
    stream->avail_in = static_cast<uInt>(size);
    compress(Z_NO_FLUSH);
}

void zip_writer_t::finish() {
    compress(Z_FINISH);
}

void zip_writer_t::close() {
    const int code = deflateEnd(stream.get());
    stream.reset();
    file.reset();
    if (code != Z_OK) {
        fail("Cannot close GZ archive [%1].", code);
    }
}

void zip_writer_t::compress(int flush) {
    int code = Z_OK;
    try {
        char piece[piece_size];
        do {
            stream->next_out = reinterpret_cast<Bytef*>(piece);
            stream->avail_out = sizeof piece;
            code = deflate(stream.get(), flush);
            file->write(piece, sizeof piece - stream->avail_out);
        } while (stream->avail_out == 0);
        if (flush == Z_FINISH) {
            file->flush();
        }
    } catch (const std::exception&) {
        code = Z_ERRNO;
    }
    // Z_BUF_ERROR: there was nothing left to do.
    if (code != Z_OK && code != Z_STREAM_END && code != Z_BUF_ERROR) {
        fail("Cannot add data to the GZ archive [%1].", code);
    }
}

void zip_writer_t::fail(const char* format, int code) const {
    exc::runtime_exc_t failure(format, path);
    failure.add_message(format_message("Error code: %1", to_string(code)));
    throw failure;
}

}  // namespace util
