#include "platform/paths.h"

namespace platform {

boost::filesystem::path native_path(const std::wstring& path) {
    return path;
}

std::wstring wide_name(const boost::filesystem::path& name) {
    return name.wstring();
}

}  // namespace platform
