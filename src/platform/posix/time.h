// Clock and time zone.
#pragma once

#include "platform/posix/types.h"

#define TIME_ZONE_ID_UNKNOWN 0
#define TIME_ZONE_ID_STANDARD 1
#define TIME_ZONE_ID_DAYLIGHT 2
#define TIME_ZONE_ID_INVALID 0xFFFFFFFFu

struct TIME_ZONE_INFORMATION {
    LONG Bias;
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
};

void GetSystemTime(SYSTEMTIME* time);
void GetLocalTime(SYSTEMTIME* time);
void GetSystemTimeAsFileTime(FILETIME* time);
DWORD GetTickCount();
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone);
void Sleep(DWORD milliseconds);
