#include "platform/posix/time.h"

#include <time.h>

#include <cmath>

#include "platform/posix/handles.h"
#include "platform/posix/sandbox.h"

namespace {

constexpr ULONGLONG seconds_from_1601_to_1970 = 11644473600;

void to_system_time(const timespec& moment, SYSTEMTIME* time) {
    tm parts;
    gmtime_r(&moment.tv_sec, &parts);
    const auto word = [](long value) { return static_cast<WORD>(value); };
    *time = {word(parts.tm_year + 1900), word(parts.tm_mon + 1),        word(parts.tm_wday),
             word(parts.tm_mday),        word(parts.tm_hour),           word(parts.tm_min),
             word(parts.tm_sec),         word(moment.tv_nsec / 1000000)};
}

timespec now(clockid_t clock) {
    timespec moment;
    clock_gettime(clock, &moment);
    return moment;
}

constexpr std::int64_t seconds_a_day = 86400;
constexpr std::int64_t days_from_1899_to_1970 = 25569;

}  // namespace

using namespace platform;

void GetSystemTime(SYSTEMTIME* time) {
    to_system_time(now(CLOCK_REALTIME), time);
}

void GetLocalTime(SYSTEMTIME* time) {
    TIME_ZONE_INFORMATION zone = {};
    const DWORD state = GetTimeZoneInformation(&zone);
    const LONG season = state == TIME_ZONE_ID_DAYLIGHT   ? zone.DaylightBias
                        : state == TIME_ZONE_ID_STANDARD ? zone.StandardBias
                                                         : 0;
    timespec moment = now(CLOCK_REALTIME);
    moment.tv_sec -= (zone.Bias + season) * 60;
    to_system_time(moment, time);
}

void GetSystemTimeAsFileTime(FILETIME* time) {
    const timespec moment = now(CLOCK_REALTIME);
    const ULONGLONG ticks = (moment.tv_sec + seconds_from_1601_to_1970) * 10000000 +
                            static_cast<ULONGLONG>(moment.tv_nsec) / 100;
    *time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

DWORD GetTickCount() {
    const timespec moment = now(CLOCK_BOOTTIME);
    return static_cast<DWORD>(moment.tv_sec * 1000 + moment.tv_nsec / 1000000);
}

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone) {
    if (failing(__func__)) return TIME_ZONE_ID_INVALID;
    *zone = {};
    zone->Bias = static_cast<LONG>(host_number("time_zone_bias", -60));
    zone->StandardBias = static_cast<LONG>(host_number("standard_bias", 0));
    zone->DaylightBias = static_cast<LONG>(host_number("daylight_bias", -60));
    return static_cast<DWORD>(host_number("time_zone_state", TIME_ZONE_ID_STANDARD));
}

void Sleep(DWORD milliseconds) {
    milliseconds /= static_cast<DWORD>(host_number("sleep_divisor", 1));
    timespec end = now(CLOCK_MONOTONIC);
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += milliseconds % 1000 * 1000000;
    end.tv_sec += end.tv_nsec / 1000000000;
    end.tv_nsec %= 1000000000;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) != 0) {
    }
}

BOOL SystemTimeToVariantTime(SYSTEMTIME* time, double* date) {
    if (time->wYear < 100 || time->wYear > 9999 || time->wMonth < 1 || time->wMonth > 12 ||
        time->wDay > 31 || time->wHour > 23 || time->wMinute > 59 || time->wSecond > 59) {
        return FALSE;
    }
    tm parts = {};
    parts.tm_year = time->wYear - 1900;
    parts.tm_mon = time->wMonth - 1;
    parts.tm_mday = time->wDay;
    const std::int64_t days = timegm(&parts) / seconds_a_day + days_from_1899_to_1970;
    const double fraction = (time->wHour * 3600 + time->wMinute * 60 + time->wSecond) /
                            static_cast<double>(seconds_a_day);
    *date = static_cast<double>(days) + (days < 0 ? -fraction : fraction);
    return TRUE;
}

BOOL VariantTimeToSystemTime(double date, SYSTEMTIME* time) {
    const double whole = std::trunc(date);
    const auto seconds = std::llround(std::fabs(date - whole) * seconds_a_day);
    const timespec moment = {
        (static_cast<std::int64_t>(whole) - days_from_1899_to_1970) * seconds_a_day + seconds, 0};
    to_system_time(moment, time);
    return TRUE;
}
