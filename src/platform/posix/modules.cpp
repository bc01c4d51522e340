#include "platform/posix/modules.h"

#include <dlfcn.h>
#include <link.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "platform/paths.h"
#include "platform/posix/handles.h"
#include "platform/posix/host.h"
#include "platform/posix/registry.h"
#include "platform/posix/unicode.h"

namespace platform {

namespace {

struct system_module {
    const wchar_t* name;
    const char* function;
    FARPROC address;
};

NTSTATUS RtlGetVersion(PRTL_OSVERSIONINFOW version) {
    return failing(__func__) ? static_cast<NTSTATUS>(0xC0000001) : fill_os_version(version);
}

const system_module system_modules[] = {
    {L"ADVAPI32", "RegOpenKeyTransactedW", reinterpret_cast<FARPROC>(&RegOpenKeyTransactedW)},
    {L"KERNEL32", "GetProductInfo", reinterpret_cast<FARPROC>(&GetProductInfo)},
    {L"NTDLL", "RtlGetVersion", reinterpret_cast<FARPROC>(&RtlGetVersion)},
};

std::mutex g_mutex;
std::vector<HMODULE> g_loaded;  // one for each LoadLibrary that was not given back

const system_module* find_system_module(const std::wstring& name) {
    std::wstring folded = fold(name);
    const std::wstring extension = L".DLL";
    if (folded.size() > extension.size() &&
        folded.compare(folded.size() - extension.size(), extension.size(), extension) == 0) {
        folded.resize(folded.size() - extension.size());
    }
    for (const system_module& module : system_modules) {
        if (folded == module.name) return &module;
    }
    return nullptr;
}

bool is_system_module(HMODULE module) {
    const auto* candidate = reinterpret_cast<const system_module*>(module);
    return std::any_of(std::begin(system_modules), std::end(system_modules),
                       [&](const system_module& known) { return candidate == &known; });
}

HMODULE as_module(const void* module) {
    return reinterpret_cast<HMODULE>(const_cast<void*>(module));
}

// A bare name is left to the loader's search.
std::string loader_name(const std::wstring& name) {
    const bool is_path = name.find_first_of(L"\\/:") != std::wstring::npos;
    return is_path ? native_path(name).string() : to_utf8(name);
}

HMODULE load(const std::wstring& name) {
    if (const system_module* module = find_system_module(name)) return as_module(module);
    void* const library = dlopen(loader_name(name).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char* reason = dlerror();
        const bool no_library =
            reason && (strstr(reason, "invalid ELF") || strstr(reason, "too short"));
        SetLastError(no_library ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_loaded.push_back(as_module(library));
    return g_loaded.back();
}

HMODULE loaded_module(const std::wstring& name) {
    if (const system_module* module = find_system_module(name)) return as_module(module);
    void* const library = dlopen(loader_name(name).c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (!library) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    dlclose(library);
    return as_module(library);
}

}  // namespace

}  // namespace platform

using namespace platform;

HMODULE LoadLibraryA(LPCSTR name) {
    return failing(__func__) ? nullptr : load(widen_ansi(name));
}

HMODULE LoadLibraryW(LPCWSTR name) {
    return failing(__func__) ? nullptr : load(name);
}

BOOL FreeLibrary(HMODULE module) {
    if (failing(__func__)) return FALSE;
    if (is_system_module(module)) return TRUE;
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        const auto found = std::find(g_loaded.begin(), g_loaded.end(), module);
        if (found == g_loaded.end()) return fail(ERROR_MOD_NOT_FOUND);
        g_loaded.erase(found);
    }
    dlclose(module);
    return TRUE;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
    if (failing(__func__)) return nullptr;
    void* address = nullptr;
    if (is_system_module(module)) {
        const auto* known = reinterpret_cast<const system_module*>(module);
        if (strcmp(known->function, name) == 0) return known->address;
    } else {
        address = dlsym(module, name);
    }
    if (!address) SetLastError(ERROR_PROC_NOT_FOUND);
    return reinterpret_cast<FARPROC>(address);
}

HMODULE GetModuleHandleW(LPCWSTR name) {
    if (failing(__func__)) return nullptr;
    return name ? loaded_module(name) : as_module(dlopen(nullptr, RTLD_NOW));
}

DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size) {
    if (failing(__func__)) return 0;
    char native[4096];
    const link_map* map = nullptr;
    if (is_system_module(module)) return fail(ERROR_MOD_NOT_FOUND);
    if (module && dlinfo(module, RTLD_DI_LINKMAP, &map) != 0) return fail(ERROR_MOD_NOT_FOUND);
    const char* const file = map && *map->l_name ? map->l_name : "/proc/self/exe";
    if (!realpath(file, native)) return fail(ERROR_MOD_NOT_FOUND);
    std::string text = narrow_ansi(from_utf8(native));
    std::replace(text.begin(), text.end(), '/', '\\');
    if (size == 0) return fail(ERROR_INSUFFICIENT_BUFFER);
    const std::size_t length = std::min<std::size_t>(text.size(), size - 1);
    std::copy_n(text.begin(), length, path);
    path[length] = '\0';
    if (length == text.size()) return static_cast<DWORD>(length);
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}
