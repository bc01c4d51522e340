// The machine that this layer shows: the directory named by ORALIB_SANDBOX.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/posix/types.h"

namespace platform {

/// The value of a variable of the process; the environment is only touched under this layer's lock.
bool read_environment(const std::string& name, std::string& value);

/// All variables of the process, as NAME=value.
std::vector<std::string> environment_entries();

/// The sandbox directory; empty for a machine without anything.
std::string sandbox_directory();

/// The bytes of a file; empty if it cannot be read.
std::string read_native_file(const std::string& path);

/// The parsed form of a file of the sandbox, parsed again when the file has changed.
template <typename Parsed>
class parsed_file {
  public:
    using parser_t = std::shared_ptr<const Parsed> (*)(const std::string& content);
    parsed_file(const char* file_name, parser_t parser) : name(file_name), parse(parser) {}
    std::shared_ptr<const Parsed> get();

  private:
    const char* const name;
    const parser_t parse;
    std::mutex mutex;
    std::string stamp;
    std::shared_ptr<const Parsed> parsed;
};

/// Changes when the file does.
std::string file_stamp(const std::string& path);

/// Sections with their keys and values, as UTF-8.
using ini_t = std::map<std::string, std::map<std::string, std::string>>;
std::shared_ptr<const ini_t> parse_ini(const std::string& content);

/// A value of section [host] of host.ini.
std::string host_text(const char* key, const char* fallback);
long host_number(const char* key, long fallback);
/// The kind given for a drive letter in section [drives]: removable, remote, cdrom; else empty.
std::string drive_kind(char letter);

}  // namespace platform

#include "platform/posix/handles.h"

template <typename Parsed>
std::shared_ptr<const Parsed> platform::parsed_file<Parsed>::get() {
    const std::string directory = sandbox_directory();
    const std::string path = directory.empty() ? "" : directory + "/" + name;
    const std::string now = path.empty() ? "" : file_stamp(path);
    const std::lock_guard<std::mutex> lock(mutex);
    if (!parsed || now != stamp) {
        parsed = parse(now.empty() ? "" : read_native_file(path));
        stamp = now;
    }
    return parsed;
}
