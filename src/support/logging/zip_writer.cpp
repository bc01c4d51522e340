#include "support/logging/zip_writer.h"

#include <cerrno>

#include <zlib.h>

#include "platform/system.h"
#include "support/exc/exc.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace util {

zip_writer_t::zip_writer_t(const std::wstring& archive_path)
    : path(to_ansi_safe(archive_path)), file(nullptr) {
    errno = 0;
    // By a descriptor, since gzopen knows names of the code page alone.
    const int descriptor = platform::create_file(archive_path);
    if (descriptor >= 0) {
        file = gzdopen(descriptor, "wb");
        if (!file) {
            platform::close_file(descriptor);
        }
    }
    if (!file) {
        fail("Failed to open GZ archive [%1].", errno ? Z_ERRNO : Z_MEM_ERROR);
    }
}

zip_writer_t::~zip_writer_t() {
    if (file) {
        gzclose(file);
    }
}

void zip_writer_t::add(const void* data, std::size_t size) {
    if (size == 0) {
        return;
    }
    if (gzwrite(file, data, static_cast<unsigned>(size)) != static_cast<int>(size)) {
        int code = Z_OK;
        gzerror(file, &code);
        fail("Cannot add data to the GZ archive [%1].", code);
    }
}

void zip_writer_t::close() {
    gzFile_s* const closing = file;
    file = nullptr;
    const int code = gzclose(closing);
    if (code != Z_OK) {
        fail("Cannot close GZ archive [%1].", code);
    }
}

void zip_writer_t::fail(const char* format, int code) const {
    exc::runtime_exc_t failure(format, path);
    failure.add_message(format_message("Error code: %1", to_string(code)));
    throw failure;
}

}  // namespace util
