#include "support/win/whole_file.h"

#include <exception>

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/win/file.h"
#include "support/win/path.h"

namespace win {

namespace {

constexpr int move_attempts = 20;
constexpr DWORD move_retry_ms = 100;

// A scanner may have what was just written open for a moment.
void move_patiently(const std::wstring& from, const std::wstring& to) {
    for (int attempt = 1;; ++attempt) {
        try {
            move_file(from, to);
            return;
        } catch (const exc::win_sys_exc_t& e) {
            if (e.code() != ERROR_SHARING_VIOLATION || attempt == move_attempts) {
                throw;
            }
        }
        Sleep(move_retry_ms);
    }
}

}  // namespace

void write_whole_file(const std::wstring& path, const std::string& content) {
    std::wstring beside = path;
    try {
        std::wstring folder;
        std::wstring name;
        split_path(path, folder, name);
        beside = join_path(folder, make_guid_text());
        {
            const auto file = win_file_t::create_or_open(beside, CREATE_NEW);
            file->write(content.data(), content.size());
            file->flush();
        }
        move_patiently(beside, path);
        // A snapshot that flushes nothing itself may follow at once.
        win_file_t::create_or_open(path, OPEN_EXISTING)->flush();
    } catch (const std::exception&) {
        remove_leftover(beside);
        remove_leftover(path);
        throw;
    }
}

}  // namespace win
