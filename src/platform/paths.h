// From the library's paths to those that boost::filesystem understands.
#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

namespace platform {

/// The path under which the running system knows the Windows path `path`; on Windows the same one.
/// Never fails: a path on a drive or share that is absent gives a path where nothing can exist.
boost::filesystem::path native_path(const std::wstring& path);

/// The name of a file, as the library's paths have it.
std::wstring wide_name(const boost::filesystem::path& name);

}  // namespace platform
