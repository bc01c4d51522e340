#include "support/logging/aging.h"

#include <exception>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include "platform/paths.h"
#include "support/exc/rethrow.h"
#include "support/logging/zip_writer.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"

namespace logging {

namespace {

constexpr std::uint64_t size_limit = 0xF00000;
constexpr std::uint32_t archives_limit = 10;

}  // namespace

std::wstring numbered_path(const std::wstring& path, const std::wstring& extension,
                           std::uint32_t number) {
    if (number == 0) {
        return path;
    }
    const bool has_extension = boost::algorithm::iends_with(path, extension);
    const std::wstring stem = has_extension ? path.substr(0, path.size() - extension.size()) : path;
    return stem + L"." + std::to_wstring(number) + extension;
}

void age_file(const std::wstring& path, const std::wstring& extension, std::uint32_t limit) {
    try {
        for (std::uint32_t left = limit + 1; left > 0; --left) {
            const std::uint32_t number = left - 1;
            const std::wstring aged = numbered_path(path, extension, number);
            if (!win::path_exists(aged)) {
                continue;
            }
            if (number == limit) {
                win::remove_file(aged);
            } else {
                boost::filesystem::rename(
                    platform::native_path(aged),
                    platform::native_path(numbered_path(path, extension, number + 1)));
            }
        }
    } catch (const std::exception& e) {
        exc::rethrow_with_trace(
            "Cannot age file. File path: [%1]. Extension: [%2]. Ages limit: [%3].",
            util::to_ansi_safe(path), util::to_ansi_safe(extension), util::to_string(limit), e);
    }
}

void check_size(receiver::log_file_t& log_file) {
    if (log_file.get_size() < size_limit) {
        return;
    }
    const std::wstring archive = log_file.get_path() + L".gz";
    // Where nothing stands in the new archive's place, as after one that could not be written, the
    // older ones stay where they are.
    if (win::path_exists(archive)) {
        age_file(archive, L".log.gz", archives_limit);
    }
    bool is_emptied = false;
    try {
        util::zip_writer_t writer(archive);
        log_file.compress_to(writer);
        is_emptied = true;
        writer.close();
    } catch (const std::exception&) {
        // A fragment would age in the place of a good archive, unless it is all there is.
        if (!is_emptied) {
            boost::system::error_code ignored;
            boost::filesystem::remove(platform::native_path(archive), ignored);
        }
        throw;
    }
}

}  // namespace logging
