#include "host/system.h"

#include <io.h>
#include <windows.h>

#include <cstdio>
#include <iostream>
#include <stdexcept>

#include <shellapi.h>
#include <shlobj.h>

namespace host {

const char* const module_file_name = "oralib.dll";
const char* const client_file_name = "OCI.dll";
const char* const hint_without_sandbox = "";

namespace {

std::string to_utf8(const wchar_t* text, int length) {
    std::string utf8(static_cast<std::size_t>(length) * 3, '\0');
    utf8.resize(static_cast<std::size_t>(WideCharToMultiByte(
        CP_UTF8, 0, text, length, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr)));
    return utf8;
}

}  // namespace

void search_no_libraries_here() {
    SetDllDirectoryW(L"");
}

std::filesystem::path executable_folder() {
    std::wstring path(32767, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return std::filesystem::path(path).parent_path();
}

std::string default_log_path() {
    wchar_t folder[MAX_PATH] = L"";
    SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    return to_utf8(folder, lstrlenW(folder)) + "\\Tarny\\ClientVault\\oralib-host.log";
}

std::filesystem::path native_path(const std::string& module_path) {
    return std::filesystem::u8path(module_path);
}

// The run-time library hands over what is left of them in the code page.
std::vector<std::string> command_line_words(int, char**) {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i) {
        result.push_back(to_utf8(words[i], lstrlenW(words[i])));
    }
    LocalFree(words);
    return result;
}

std::string ansi_to_utf8(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                            static_cast<int>(wide.size()))));
    return to_utf8(wide.data(), static_cast<int>(wide.size()));
}

void flush_to_disk(const std::filesystem::path& file) {
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
        FlushFileBuffers(handle);
        CloseHandle(handle);
    }
}

// A console's; streams that are redirected are not touched by it.
utf8_output_t::utf8_output_t() : m_before(GetConsoleOutputCP()) {
    SetConsoleOutputCP(CP_UTF8);
    // Else each byte goes to the console alone, where older ones make no character of several.
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
}

utf8_output_t::~utf8_output_t() {
    std::cout.flush();
    SetConsoleOutputCP(m_before);
}

bool is_error_output_a_terminal() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

quiet_output_t::quiet_output_t() {
    std::cout.flush();
    std::fflush(stdout);
    m_saved = _dup(_fileno(stdout));
    if (std::FILE* const nowhere = std::fopen("NUL", "w")) {
        _dup2(_fileno(nowhere), _fileno(stdout));
        std::fclose(nowhere);
    }
}

quiet_output_t::~quiet_output_t() {
    std::cout.flush();
    std::fflush(stdout);
    if (m_saved >= 0) {
        _dup2(m_saved, _fileno(stdout));
        _close(m_saved);
    }
}

namespace {

HANDLE g_keyboard = INVALID_HANDLE_VALUE;
DWORD g_keyboard_mode = 0;

// The console keeps its mode beyond the process: Ctrl+C must not leave one that shows nothing.
BOOL WINAPI restore_keyboard(DWORD) {
    SetConsoleMode(g_keyboard, g_keyboard_mode);
    return FALSE;
}

}  // namespace

std::string read_hidden_line(const std::string& prompt) {
    const auto open = [](const wchar_t* name) {
        return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                           nullptr, OPEN_EXISTING, 0, nullptr);
    };
    const HANDLE keyboard = open(L"CONIN$");
    const HANDLE screen = open(L"CONOUT$");
    DWORD mode = 0;
    if (!GetConsoleMode(keyboard, &mode)) {
        CloseHandle(keyboard);
        CloseHandle(screen);
        throw std::runtime_error("there is no terminal to ask for the password");
    }
    DWORD done = 0;
    WriteConsoleA(screen, prompt.data(), static_cast<DWORD>(prompt.size()), &done, nullptr);
    g_keyboard = keyboard;
    g_keyboard_mode = mode;
    SetConsoleCtrlHandler(restore_keyboard, TRUE);
    SetConsoleMode(keyboard, ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT);
    wchar_t line[1024];
    DWORD length = 0;
    ReadConsoleW(keyboard, line, static_cast<DWORD>(std::size(line)), &length, nullptr);
    SetConsoleMode(keyboard, mode);
    SetConsoleCtrlHandler(restore_keyboard, FALSE);
    WriteConsoleA(screen, "\r\n", 2, &done, nullptr);
    CloseHandle(keyboard);
    CloseHandle(screen);
    while (length > 0 && (line[length - 1] == L'\r' || line[length - 1] == L'\n')) {
        --length;
    }
    const std::string answer = to_utf8(line, static_cast<int>(length));
    SecureZeroMemory(line, sizeof line);
    return answer;
}

}  // namespace host
