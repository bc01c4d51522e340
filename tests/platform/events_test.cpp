#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform/thread.h"

TEST(events_threads, manual_and_automatic) {
    for (BOOL manual : {TRUE, FALSE}) {
        for (BOOL set : {TRUE, FALSE}) {
            const HANDLE event = CreateEventA(nullptr, manual, set, nullptr);
            const DWORD begin = GetTickCount();
            EXPECT_EQ(set ? WAIT_OBJECT_0 : WAIT_TIMEOUT, WaitForSingleObject(event, 50));
            EXPECT_EQ(!set, GetTickCount() - begin >= 30);
            EXPECT_TRUE(SetEvent(event));
            EXPECT_TRUE(SetEvent(event));  // once is enough
            EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event, INFINITE));
            EXPECT_EQ(manual ? WAIT_OBJECT_0 : WAIT_TIMEOUT, WaitForSingleObject(event, 0));
            EXPECT_TRUE(CloseHandle(event));
        }
    }
}

TEST(events_threads, set_by_another_thread) {
    const HANDLE there = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE back = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    int shared = 0;
    const auto thread = platform::start_thread([&] {
        WaitForSingleObject(there, INFINITE);
        ++shared;
        SetEvent(back);
    });
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(platform::thread_handle(*thread), 10));
    shared = 41;
    SetEvent(there);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(back, 10000));
    EXPECT_EQ(42, shared);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(platform::thread_handle(*thread), 10000));
    thread->join();
    CloseHandle(there);
    CloseHandle(back);
}

// An automatic event lets one of those go that wait for it.
TEST(events_threads, one_at_a_time) {
    const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    const HANDLE seen = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    const auto wait = [&] {
        WaitForSingleObject(event, INFINITE);
        SetEvent(seen);
    };
    const auto first = platform::start_thread(wait), second = platform::start_thread(wait);
    for (int i = 0; i < 2; ++i) {
        SetEvent(event);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(seen, 10000));
        EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(seen, 30));
    }
    first->join();
    second->join();
    CloseHandle(event);
    CloseHandle(seen);
}

TEST(clock, local_time_is_utc_less_the_bias) {
    TIME_ZONE_INFORMATION zone;
    const DWORD state = GetTimeZoneInformation(&zone);
    SYSTEMTIME utc, local;
    do {
        GetSystemTime(&utc);
        GetLocalTime(&local);
    } while (utc.wSecond != local.wSecond);
    LONG bias = zone.Bias;
    if (state == TIME_ZONE_ID_STANDARD) bias += zone.StandardBias;
    if (state == TIME_ZONE_ID_DAYLIGHT) bias += zone.DaylightBias;
    const int minutes = (utc.wHour - local.wHour) * 60 + utc.wMinute - local.wMinute;
    EXPECT_EQ((bias % 1440 + 1440) % 1440, (minutes % 1440 + 1440) % 1440);
}

TEST(clock, same_moment_in_both_forms) {
    FILETIME ticks;
    SYSTEMTIME parts;
    GetSystemTimeAsFileTime(&ticks);
    GetSystemTime(&parts);
    const ULONGLONG now = ticks.dwLowDateTime | ULONGLONG{ticks.dwHighDateTime} << 32;
    const ULONGLONG second = 10000000, day = 86400 * second;
    // The first day of 1601 was a Monday.
    EXPECT_EQ((now / day + 1) % 7, parts.wDayOfWeek);
    const ULONGLONG of_day = ((parts.wHour * 60 + parts.wMinute) * 60 + parts.wSecond) * second +
                             parts.wMilliseconds * 10000ULL;
    EXPECT_LT((of_day + day + 10000 - now % day) % day, second);
    const DWORD begin = GetTickCount();
    Sleep(30);
    EXPECT_GE(GetTickCount() - begin, 14u);
}
