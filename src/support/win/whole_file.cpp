#include "support/win/whole_file.h"

#include <exception>

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/win/file.h"
#include "support/win/path.h"

namespace win {

namespace {

constexpr int attempts = 20;
constexpr DWORD retry_ms = 100;

// A scanner may have what was just written open for a moment.
template <typename Step>
void take_patiently(const Step& step) {
    for (int attempt = 1;; ++attempt) {
        try {
            step();
            return;
        } catch (const exc::win_sys_exc_t& e) {
            const bool may_pass =
                e.code() == ERROR_SHARING_VIOLATION || e.code() == ERROR_ACCESS_DENIED;
            if (!may_pass || attempt == attempts) {
                throw;
            }
        }
        Sleep(retry_ms);
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
        take_patiently([&] { move_file(beside, path); });
        // A snapshot that flushes nothing itself may follow at once.
        take_patiently([&] { win_file_t::create_or_open(path, OPEN_EXISTING)->flush(); });
    } catch (const std::exception&) {
        remove_leftover(beside);
        remove_leftover(path);
        throw;
    }
}

}  // namespace win
