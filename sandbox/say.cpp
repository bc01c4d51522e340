// A program of a sandbox's machine: says what the file of its name with the extension .say holds.
#include <windows.h>

int main() {
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (length < 4 || length >= MAX_PATH) {
        return 1;
    }
    lstrcpyW(path + length - 4, L".say");
    const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    char text[4096];
    DWORD size = 0;
    return file != INVALID_HANDLE_VALUE && ReadFile(file, text, sizeof text, &size, nullptr) &&
                   WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, size, &size, nullptr)
               ? 0
               : 1;
}
