#include "sandbox/native.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <stdexcept>
#include <thread>

#include <windows.h>

namespace sandbox {

namespace fs = std::filesystem;

namespace {

std::wstring widen(const std::string& utf8) {
    return fs::u8path(utf8).wstring();
}

std::runtime_error failure(const std::string& what, DWORD code) {
    wchar_t text[512];
    DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                       text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] == L'\r' || text[length - 1] == L'\n')) {
        --length;
    }
    return std::runtime_error(what + ": " + fs::path(std::wstring(text, length)).u8string() + " (" +
                              std::to_string(code) + ")");
}

}  // namespace

void sleep_microseconds(long microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

void sleep_until(std::chrono::steady_clock::time_point end) {
    // The system wakes sleepers by a clock of some 16 ms.
    std::this_thread::sleep_until(end - std::chrono::milliseconds(17));
    while (std::chrono::steady_clock::now() < end) {
    }
}

// The system's, not the run-time library's copy, which other modules do not see.
std::string environment(const char* name) {
    std::wstring value(32767, L'\0');
    value.resize(GetEnvironmentVariableW(widen(name).c_str(), value.data(),
                                         static_cast<DWORD>(value.size())));
    return fs::path(value).u8string();
}

void set_environment(const char* name, const std::string& value) {
    SetEnvironmentVariableW(widen(name).c_str(), value.empty() ? nullptr : widen(value).c_str());
}

fs::path drive_folder(const fs::path&, char letter) {
    if (environment("ORALIB_SANDBOX_DRIVES").empty()) {
        throw std::runtime_error(
            "A sandbox uses the drives of this machine. Where nothing of worth is on them, set the "
            "variable ORALIB_SANDBOX_DRIVES to 1.");
    }
    return std::string(1, letter) + ":\\";
}

namespace {

// Below it the copy of one process, named by its number.
const std::wstring copies = L"Software\\oralib-sandbox";

// What the system itself reads there, in this process: names of the computer and of its folders.
const wchar_t* const kept_keys[] = {
    L"SYSTEM\\CurrentControlSet\\Control\\ComputerName",
    L"SYSTEM\\CurrentControlSet\\Control\\Cryptography",
    L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
    L"SYSTEM\\CurrentControlSet\\Control\\TimeZoneInformation",
    L"SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters",
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FolderDescriptions",
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
    L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList"};

// HKEY_LOCAL_MACHINE is replaced while it lives.
class registry_copy_t {
  public:
    explicit registry_copy_t(const fs::path& registry_file)
        : m_name(copies + L"\\" + std::to_wstring(GetCurrentProcessId())) {
        remove();  // what an earlier process of this number left when it was ended
        import(registry_file);
        HKEY copy = nullptr;
        LSTATUS status =
            RegCreateKeyExW(HKEY_CURRENT_USER, m_name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                            KEY_ALL_ACCESS, nullptr, &copy, nullptr);
        if (status == ERROR_SUCCESS) {
            for (const wchar_t* key : kept_keys) {
                keep(copy, key);
            }
            status = RegOverridePredefKey(HKEY_LOCAL_MACHINE, copy);
            RegCloseKey(copy);
        }
        if (status != ERROR_SUCCESS) {
            throw failure("Cannot show the sandbox's registry", static_cast<DWORD>(status));
        }
    }
    ~registry_copy_t() {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        remove();
        // Goes with the last copy.
        RegDeleteKeyW(HKEY_CURRENT_USER, copies.c_str());
    }
    registry_copy_t(const registry_copy_t&) = delete;
    registry_copy_t& operator=(const registry_copy_t&) = delete;

  private:
    void remove() const {
        RegDeleteTreeW(HKEY_CURRENT_USER, m_name.c_str());
        RegDeleteKeyW(HKEY_CURRENT_USER, m_name.c_str());
    }

    // By the system's own tool, from a copy of the file in which the keys lie elsewhere.
    void import(const fs::path& registry_file) const {
        std::ifstream stream(registry_file, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        const fs::path moved = fs::temp_directory_path() /
                               ("oralib-" + std::to_string(GetCurrentProcessId()) + ".reg");
        // UTF-16 with its mark; else the tool takes the code page.
        std::wstring wide(text.size() / sizeof(wchar_t), L'\0');
        if (text.compare(0, 2, "\xFF\xFE") == 0) {
            text.copy(reinterpret_cast<char*>(wide.data()), wide.size() * sizeof(wchar_t));
        } else {
            wide = L"\xFEFF" + widen(text);
        }
        const std::wstring from = L"[HKEY_LOCAL_MACHINE";
        const std::wstring to = L"[HKEY_CURRENT_USER\\" + m_name;
        for (std::size_t i = wide.find(from); i != std::wstring::npos;
             i = wide.find(from, i + to.size())) {
            wide.replace(i, from.size(), to);
        }
        std::ofstream(moved, std::ios::binary)
            .write(reinterpret_cast<const char*>(wide.data()),
                   static_cast<std::streamsize>(wide.size() * sizeof(wchar_t)));
        std::wstring command = L"reg.exe import \"" + moved.wstring() + L"\"";
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process = {};
        if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                            nullptr, nullptr, &startup, &process)) {
            throw failure("Cannot start reg.exe", GetLastError());
        }
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        fs::remove(moved);
        if (code != 0) {
            throw failure("reg.exe cannot import " + registry_file.u8string(), code);
        }
    }

    static void keep(HKEY copy, const wchar_t* name) {
        HKEY from = nullptr;
        HKEY to = nullptr;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, name, 0, KEY_READ, &from) == ERROR_SUCCESS &&
            RegCreateKeyExW(copy, name, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                            nullptr, &to, nullptr) == ERROR_SUCCESS) {
            RegCopyTreeW(from, nullptr, to);
        }
        RegCloseKey(from);
        RegCloseKey(to);
    }

    std::wstring m_name;
};

}  // namespace

void use_registry(const fs::path& sandbox) {
    static std::unique_ptr<registry_copy_t> current;
    current.reset();
    current = std::make_unique<registry_copy_t>(sandbox / "registry.reg");
}

fs::path stand_in_folder() {
    std::wstring program(32767, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    return fs::path(program).parent_path() / "sandbox";
}

void write_program(const fs::path& file, const std::string& line) {
    // It says what the file beside it holds.
    const fs::path program = stand_in_folder() / "say.exe";
    fs::remove(file);
    fs::copy_file(program, file);
    std::ofstream(fs::path(file).replace_extension(".say"), std::ios::binary) << line << "\r\n";
}

void write_command_file(const fs::path& file, const std::vector<std::string>& lines) {
    std::ofstream stream(file, std::ios::binary);
    stream << "@echo off\r\n";
    for (const std::string& line : lines) {
        stream << "echo " << std::regex_replace(line, std::regex("%db%"), "%4") << "\r\n";
    }
}

long process_id() {
    return static_cast<long>(GetCurrentProcessId());
}
long thread_id() {
    return static_cast<long>(GetCurrentThreadId());
}

void sleep_forever() {
    for (;;) {
        Sleep(INFINITE);
    }
}

void end_process() {
    TerminateProcess(GetCurrentProcess(), 1);
    sleep_forever();
}

library_t::library_t(const std::filesystem::path& file) : m_library(LoadLibraryW(file.c_str())) {
    if (!m_library) {
        throw failure(file.u8string(), GetLastError());
    }
}

library_t::~library_t() {
    FreeLibrary(static_cast<HMODULE>(m_library));
}

void* library_t::find(const char* name) const {
    const FARPROC address = GetProcAddress(static_cast<HMODULE>(m_library), name);
    if (!address) {
        throw failure(name, GetLastError());
    }
    return reinterpret_cast<void*>(address);
}

void appender_t::open(const fs::path& file) {
    m_file = reinterpret_cast<std::intptr_t>(CreateFileW(
        file.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void appender_t::write(const std::string& text) const {
    DWORD written = 0;
    WriteFile(reinterpret_cast<HANDLE>(m_file), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
}

appender_t::~appender_t() {
    if (is_open()) {
        CloseHandle(reinterpret_cast<HANDLE>(m_file));
    }
}

}  // namespace sandbox
