#include "support/logging/win_log_file.h"

#include <exception>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "support/exc/rethrow.h"
#include "support/logging/aging.h"
#include "support/logging/zip_writer.h"
#include "support/text/convert.h"
#include "support/win/path.h"

namespace win {

namespace {

constexpr std::size_t block_size = 0x100000;
constexpr std::uint32_t names_limit = 1000;

boost::shared_ptr<win_file_t> open_for_logging(const std::wstring& path) {
    try {
        auto file = win_file_t::create_or_open(path, OPEN_ALWAYS);
        file->seek(0, FILE_END);
        return file;
    } catch (const exc::win_sys_exc_t& e) {
        if (e.code() == ERROR_SHARING_VIOLATION) {
            throw exc::file_locked_exc_t(util::to_ansi_safe(path));
        }
        throw;
    }
}

// The numbered names have the number in front of ".log", failing that of whatever follows the
// last dot.
std::wstring log_name(const std::wstring& path, std::uint32_t number) {
    std::wstring folder;
    std::wstring name;
    split_path(path, folder, name);
    const std::wstring::size_type dot = name.rfind(L'.');
    if (number > 0 && dot == std::wstring::npos) {
        return path + L"." + std::to_wstring(number) + L".log";
    }
    return logging::numbered_path(
        path, dot == std::wstring::npos ? std::wstring() : name.substr(dot), number);
}

// Where the log's folder cannot be made, the root of its drive has to do.
std::wstring with_folder(const std::wstring& path, std::string* why) {
    std::wstring folder;
    std::wstring name;
    split_path(path, folder, name);
    if (folder.empty()) {
        return path;
    }
    try {
        create_directories(folder + L"\\");
        return path;
    } catch (const std::exception& e) {
        const std::wstring root = path.substr(0, 3);
        if (path.size() < 4 || path[1] != L':' || !folder_exists(root)) {
            throw;
        }
        if (why) {
            *why = e.what();
        }
        return root + name;
    }
}

}  // namespace

win_log_file_t::win_log_file_t(const std::wstring& path) : file(open_for_logging(path)) {}

void win_log_file_t::write(const std::string& line) {
    file->write(line.data(), line.size());
}

void win_log_file_t::flush() {
    file->flush();
}

std::wstring win_log_file_t::get_path() const {
    return file->path();
}

std::uint64_t win_log_file_t::get_size() {
    return file->size();
}

void win_log_file_t::compress_to(util::zip_writer_t& writer) {
    try {
        file->seek(0, FILE_BEGIN);
        std::vector<char> block(block_size);
        while (const std::size_t read = file->read(block.data(), block.size())) {
            writer.add(block.data(), read);
        }
        writer.finish();
        file->reset_size(0);
    } catch (const std::exception& e) {
        file->seek(0, FILE_END);
        exc::rethrow_with("Cannot compress log file. Log: [%1].", util::to_ansi_safe(file->path()),
                          e);
    }
}

boost::shared_ptr<logging::receiver::log_file_t> open_log_file(const std::wstring& path,
                                                               std::string* why) {
    try {
        const std::wstring usable = with_folder(path, why);
        for (std::uint32_t number = 0; number < names_limit; ++number) {
            try {
                return boost::make_shared<win_log_file_t>(log_name(usable, number));
            } catch (const exc::file_locked_exc_t&) {
            }
        }
        throw exc::runtime_exc_t("All log files are locked.");
    } catch (const std::exception& e) {
        exc::rethrow_with("Failed to initialize log [%1].", util::to_ansi_safe(path), e);
    }
}

}  // namespace win
