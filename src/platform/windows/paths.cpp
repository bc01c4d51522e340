#include "platform/paths.h"

namespace platform {

boost::filesystem::path native_path(const std::wstring& path) {
    return path;
}

}  // namespace platform
