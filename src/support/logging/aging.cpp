#include "support/logging/aging.h"

#include <exception>
#include <utility>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>

#include "support/exc/rethrow.h"
#include "support/logging/zip_writer.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"

namespace logging {

namespace {

constexpr std::uint64_t size_limit = 0xF00000;
constexpr std::uint32_t archives_limit = 10;
constexpr const wchar_t* archive_extension = L".log.gz";

// The archives that make room for a new one. They go back to their places unless the new one is
// whole in the end; until then the oldest is only set aside.
class archives_t {
  public:
    explicit archives_t(const std::wstring& newest) : path(newest) {
        try {
            age();
        } catch (const std::exception& e) {
            go_back();
            rethrow(e);
        }
    }
    ~archives_t() { go_back(); }
    archives_t(const archives_t&) = delete;
    archives_t& operator=(const archives_t&) = delete;

    bool can_go_back() const { return !kept; }

    void forget_oldest() {
        kept = true;
        try {
            win::remove_file(aside());
        } catch (const std::exception& e) {
            rethrow(e);
        }
    }

  private:
    std::wstring aside() const { return name(archives_limit) + L".old"; }
    std::wstring name(std::uint32_t number) const {
        return numbered_path(path, archive_extension, number);
    }

    void age() {
        for (std::uint32_t left = archives_limit + 1; left > 0; --left) {
            const std::uint32_t number = left - 1;
            if (win::path_exists(name(number))) {
                const std::wstring to = number == archives_limit ? aside() : name(number + 1);
                win::move_file(name(number), to);
                moved.emplace_back(name(number), to);
            }
        }
    }

    // As far as it goes: what cannot go back stands in the way of those behind it.
    void go_back() {
        try {
            for (; !kept && !moved.empty(); moved.pop_back()) {
                win::move_file(moved.back().second, moved.back().first);
            }
        } catch (const std::exception&) {
            kept = true;
        }
    }

    [[noreturn]] void rethrow(const std::exception& e) const {
        exc::rethrow_with_trace(
            "Cannot age file. File path: [%1]. Extension: [%2]. Ages limit: [%3].",
            util::to_ansi_safe(path), util::to_ansi_safe(archive_extension),
            util::to_string(archives_limit), e);
    }

    const std::wstring path;
    std::vector<std::pair<std::wstring, std::wstring>> moved;
    bool kept = false;
};

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

void check_size(receiver::log_file_t& log_file) {
    if (log_file.get_size() < size_limit) {
        return;
    }
    const std::wstring archive = log_file.get_path() + L".gz";
    archives_t older(archive);
    try {
        util::zip_writer_t writer(archive);
        log_file.compress_to(writer);
        older.forget_oldest();
        writer.close();
    } catch (const std::exception&) {
        if (older.can_go_back()) {
            win::remove_leftover(archive);
        }
        throw;
    }
}

}  // namespace logging
