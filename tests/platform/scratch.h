// A folder of the machine for the files of one test.
#pragma once

#include <string>

#include "platform/platform.h"

inline std::wstring scratch_path(const wchar_t* name) {
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    GUID guid;
    RPC_WSTR text = nullptr;
    CoCreateGuid(&guid);
    UuidToStringW(&guid, &text);
    static const std::wstring folder =
        temp + std::wstring(reinterpret_cast<wchar_t*>(text)) + L"\\";
    RpcStringFreeW(&text);
    CreateDirectoryW(folder.c_str(), nullptr);
    return folder + name;
}

inline HANDLE open_scratch(const std::wstring& path, DWORD access, DWORD share,
                           DWORD disposition = OPEN_ALWAYS, DWORD flags = FILE_ATTRIBUTE_NORMAL) {
    return CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr);
}
