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

/// Automation dates: days since 30 December 1899, the time of day as their fraction, also of the
/// negative ones. False for a year before 100 or behind 9999 and for a field out of its range; a
/// day that its month does not have rolls over.
BOOL SystemTimeToVariantTime(SYSTEMTIME* time, double* date);
BOOL VariantTimeToSystemTime(double date, SYSTEMTIME* time);
