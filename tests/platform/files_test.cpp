#include <gtest/gtest.h>

#include "scratch.h"

namespace {

struct open_mode {
    DWORD access, share;
};

constexpr DWORD both = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD accesses[] = {GENERIC_READ, GENERIC_WRITE, both};
constexpr DWORD shares[] = {0, FILE_SHARE_READ, FILE_SHARE_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE};

bool allowed(const open_mode& by, DWORD access) {
    return !((access & GENERIC_READ) && !(by.share & FILE_SHARE_READ)) &&
           !((access & GENERIC_WRITE) && !(by.share & FILE_SHARE_WRITE));
}

void write_text(const std::wstring& path, const std::string& text) {
    const HANDLE file = open_scratch(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
    DWORD done = 0;
    ASSERT_TRUE(WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr));
    CloseHandle(file);
}

LONGLONG size_of(const std::wstring& path) {
    const HANDLE file = open_scratch(path, GENERIC_READ, 7, OPEN_EXISTING);
    LARGE_INTEGER size;
    size.QuadPart = -1;
    GetFileSizeEx(file, &size);
    CloseHandle(file);
    return size.QuadPart;
}

}  // namespace

TEST(files, every_pair_of_share_modes) {
    const std::wstring path = scratch_path(L"shared");
    for (DWORD access : accesses) {
        for (DWORD share : shares) {
            const open_mode first = {access, share};
            const HANDLE held = open_scratch(path, access, share);
            ASSERT_NE(INVALID_HANDLE_VALUE, held);
            for (DWORD second_access : accesses) {
                for (DWORD second_share : shares) {
                    const open_mode second = {second_access, second_share};
                    const bool expected =
                        allowed(first, second.access) && allowed(second, first.access);
                    const HANDLE file = open_scratch(path, second_access, second_share);
                    const DWORD error = file == INVALID_HANDLE_VALUE ? GetLastError() : 0;
                    EXPECT_EQ(expected ? 0u : ERROR_SHARING_VIOLATION, error)
                        << std::hex << access << "/" << share << " then " << second_access << "/"
                        << second_share;
                    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
                }
            }
            EXPECT_EQ(TRUE, CloseHandle(held));
        }
    }
}

TEST(files, dispositions) {
    const struct {
        DWORD disposition;
        bool exists;
        DWORD error;
        LONGLONG size;  // afterwards; -1 for no file
    } cases[] = {
        {CREATE_NEW, false, ERROR_SUCCESS, 0},
        {CREATE_NEW, true, ERROR_FILE_EXISTS, 3},
        {CREATE_ALWAYS, false, ERROR_SUCCESS, 0},
        {CREATE_ALWAYS, true, ERROR_ALREADY_EXISTS, 0},
        {OPEN_EXISTING, false, ERROR_FILE_NOT_FOUND, -1},
        {OPEN_EXISTING, true, ERROR_SUCCESS, 3},
        {OPEN_ALWAYS, false, ERROR_SUCCESS, 0},
        {OPEN_ALWAYS, true, ERROR_ALREADY_EXISTS, 3},
        {TRUNCATE_EXISTING, false, ERROR_FILE_NOT_FOUND, -1},
        {TRUNCATE_EXISTING, true, ERROR_SUCCESS, 0},
        {6, true, ERROR_INVALID_PARAMETER, 3},
    };
    const std::wstring path = scratch_path(L"disposition");
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::Message() << test.disposition << " exists " << test.exists);
        DeleteFileW(path.c_str());
        if (test.exists) write_text(path, "abc");
        SetLastError(ERROR_GEN_FAILURE);
        const HANDLE file = open_scratch(path, both, 0, test.disposition);
        const DWORD error = GetLastError();
        if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
        EXPECT_EQ(file != INVALID_HANDLE_VALUE,
                  test.error == ERROR_SUCCESS || test.error == ERROR_ALREADY_EXISTS);
        if (test.disposition != TRUNCATE_EXISTING || !test.exists) {
            EXPECT_EQ(test.error, error);
        }
        EXPECT_EQ(test.size, size_of(path));
    }
}

TEST(files, a_refused_open_truncates_nothing) {
    const std::wstring path = scratch_path(L"kept");
    write_text(path, "abc");
    const HANDLE reader = open_scratch(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    EXPECT_EQ(INVALID_HANDLE_VALUE, open_scratch(path, GENERIC_WRITE, 7, CREATE_ALWAYS));
    EXPECT_EQ(3, size_of(path));
    EXPECT_FALSE(DeleteFileW(path.c_str()));
    EXPECT_EQ(ERROR_SHARING_VIOLATION, GetLastError());
    CloseHandle(reader);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(path.c_str()));
}

TEST(files, errors_of_paths) {
    const std::wstring folder = scratch_path(L"folder");
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    EXPECT_EQ(FILE_ATTRIBUTE_DIRECTORY, GetFileAttributesW(folder.c_str()));
    EXPECT_FALSE(CreateDirectoryW(folder.c_str(), nullptr));
    EXPECT_EQ(ERROR_ALREADY_EXISTS, GetLastError());
    EXPECT_FALSE(CreateDirectoryW((folder + L"\\a\\b").c_str(), nullptr));
    EXPECT_EQ(ERROR_PATH_NOT_FOUND, GetLastError());
    const struct {
        std::wstring path;
        DWORD error;
    } cases[] = {{folder + L"\\absent", ERROR_FILE_NOT_FOUND},
                 {folder + L"\\absent\\file", ERROR_PATH_NOT_FOUND},
                 {L"Q:\\file", ERROR_PATH_NOT_FOUND},
                 {folder, ERROR_ACCESS_DENIED},
                 {folder + L"\\what?", ERROR_INVALID_NAME},
                 {L"", ERROR_PATH_NOT_FOUND}};
    for (const auto& test : cases) {
        for (DWORD access : {GENERIC_READ, GENERIC_WRITE}) {
            EXPECT_EQ(INVALID_HANDLE_VALUE, open_scratch(test.path, access, 7, OPEN_EXISTING));
            EXPECT_EQ(test.error, GetLastError()) << test.path.size();
        }
    }
    const HANDLE opened =
        open_scratch(folder, GENERIC_READ, 7, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    EXPECT_NE(INVALID_HANDLE_VALUE, opened);
    EXPECT_TRUE(CloseHandle(opened));
    EXPECT_FALSE(CloseHandle(opened));
    EXPECT_EQ(ERROR_INVALID_HANDLE, GetLastError());
}

TEST(files, moves) {
    const std::wstring from = scratch_path(L"from"), to = scratch_path(L"to");
    write_text(from, "new");
    write_text(to, "older");
    EXPECT_FALSE(MoveFileExW(from.c_str(), to.c_str(), 0));
    EXPECT_EQ(ERROR_ALREADY_EXISTS, GetLastError());
    EXPECT_TRUE(MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(3, size_of(to));
    EXPECT_FALSE(MoveFileExW(from.c_str(), to.c_str(), 0));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, GetLastError());
}

TEST(files, pointer_and_size) {
    const HANDLE file = open_scratch(scratch_path(L"seek"), both, 0);
    DWORD done = 0;
    ASSERT_TRUE(WriteFile(file, "0123456789", 10, &done, nullptr));
    EXPECT_EQ(10u, done);
    EXPECT_EQ(4u, SetFilePointer(file, 4, nullptr, FILE_BEGIN));
    EXPECT_TRUE(SetEndOfFile(file));
    LARGE_INTEGER distance, position, size;
    distance.QuadPart = -3;
    EXPECT_TRUE(SetFilePointerEx(file, distance, &position, FILE_END));
    EXPECT_EQ(1, position.QuadPart);
    char text[8] = {};
    EXPECT_TRUE(ReadFile(file, text, sizeof text, &done, nullptr));
    EXPECT_EQ("123", std::string(text, done));
    EXPECT_TRUE(ReadFile(file, text, sizeof text, &done, nullptr));
    EXPECT_EQ(0u, done);
    distance.QuadPart = -1;
    EXPECT_FALSE(SetFilePointerEx(file, distance, nullptr, FILE_BEGIN));
    EXPECT_EQ(ERROR_NEGATIVE_SEEK, GetLastError());
    LONG high = 1;
    EXPECT_EQ(5u, SetFilePointer(file, 5, &high, FILE_BEGIN));
    EXPECT_EQ(1, high);
    EXPECT_TRUE(GetFileSizeEx(file, &size));
    EXPECT_EQ(4, size.QuadPart);
    EXPECT_TRUE(FlushFileBuffers(file));
    CloseHandle(file);
}

TEST(files, locked_ranges) {
    const std::wstring path = scratch_path(L"ranges");
    write_text(path, "0123456789");
    const HANDLE owner = open_scratch(path, both, 3), other = open_scratch(path, both, 3);
    ASSERT_TRUE(LockFile(owner, 4, 0, 2, 0));
    EXPECT_FALSE(LockFile(other, 5, 0, 1, 0));
    EXPECT_EQ(ERROR_LOCK_VIOLATION, GetLastError());
    const struct {
        HANDLE file;
        LONG at;
        DWORD size;
        bool passes;
    } cases[] = {{other, 0, 4, true}, {other, 0, 5, false}, {other, 5, 1, false},
                 {other, 6, 4, true}, {owner, 3, 4, true},  {other, 0, 100, false}};
    for (const auto& test : cases) {
        char buffer[100] = {};
        DWORD done = 0;
        SetFilePointer(test.file, test.at, nullptr, FILE_BEGIN);
        EXPECT_EQ(test.passes, ReadFile(test.file, buffer, test.size, &done, nullptr) != FALSE);
        if (!test.passes) {
            EXPECT_EQ(ERROR_LOCK_VIOLATION, GetLastError());
        }
        SetFilePointer(test.file, test.at, nullptr, FILE_BEGIN);
        EXPECT_EQ(test.passes, WriteFile(test.file, buffer, test.size, &done, nullptr) != FALSE);
        if (!test.passes) {
            EXPECT_EQ(ERROR_LOCK_VIOLATION, GetLastError());
        }
    }
    ASSERT_TRUE(UnlockFile(owner, 4, 0, 2, 0));
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(other, "x", 1, &done, nullptr));
    CloseHandle(other);
    ASSERT_TRUE(LockFile(owner, 0, 0, 1, 0));  // not lost by the close of another handle
    CloseHandle(owner);
}
