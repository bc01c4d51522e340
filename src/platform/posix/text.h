// Conversions between UTF-16 and code pages.
#pragma once

#include "platform/posix/types.h"

#define CP_ACP 0
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x0001
#define MB_ERR_INVALID_CHARS 0x0008
#define WC_ERR_INVALID_CHARS 0x0080
#define WC_NO_BEST_FIT_CHARS 0x0400

UINT GetACP();
/// Makes no best fit: a character that the code page cannot hold becomes the default character.
int WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR wide, int wide_count, LPSTR narrow,
                        int narrow_size, LPCSTR default_char, LPBOOL used_default_char);
int MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR narrow, int narrow_count, LPWSTR wide,
                        int wide_size);
