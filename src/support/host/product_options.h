// What the library keeps of the host product's options.
#pragma once

#include <cstdint>
#include <string>

namespace util {

/// Built-in values, never read from anywhere.
struct SProductOptions {
    static const SProductOptions& instance() {
        static const SProductOptions options;
        return options;
    }

    /// Under HKEY_LOCAL_MACHINE: the settings, and the log's LogDirectory.
    std::wstring registryPath = L"SOFTWARE\\Tarny\\Tarny Client Vault";
    std::uint32_t ioSetting = 1000;
};

}  // namespace util
