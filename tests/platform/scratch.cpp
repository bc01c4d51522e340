#include "scratch.h"

#include <filesystem>
#include <memory>

#include <gtest/gtest.h>

namespace {

// Not made where the program only lists its tests.
struct environment : testing::Environment {
    void SetUp() override {
        machine = std::make_unique<machine_t>();
        remove_folder(machine->find("C:\\scratch"));  // of a run that was ended
    }
    void TearDown() override { machine.reset(); }
    std::unique_ptr<machine_t> machine;
};

const environment* const g_environment =
    static_cast<environment*>(testing::AddGlobalTestEnvironment(new environment));

}  // namespace

const machine_t& machine() {
    return *g_environment->machine;
}

bool is_wine() {
    const DWORD error = GetLastError();
    const bool found = GetProcAddress(LoadLibraryA("ntdll.dll"), "wine_get_version") != nullptr;
    SetLastError(error);
    return found;
}

std::wstring scratch_path(const std::wstring& name) {
    const std::wstring folder = L"C:\\scratch";
    CreateDirectoryW(folder.c_str(), nullptr);
    return folder + L"\\" + name;
}

void remove_scratch(const std::wstring& path) {
    std::filesystem::remove(machine().find(std::string(path.begin(), path.end())));
}

HANDLE open_scratch(const std::wstring& path, DWORD access, DWORD share, DWORD disposition,
                    DWORD flags) {
    return CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr);
}

void write_scratch(const std::wstring& path, const std::string& text) {
    const HANDLE file = open_scratch(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
    DWORD done = 0;
    ASSERT_TRUE(WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr));
    ASSERT_TRUE(CloseHandle(file));
}
