#include "oracle/logs/log_time.h"

#include <cmath>
#include <cwchar>

#include "platform/platform.h"

namespace specific::oracle {

namespace {

constexpr double half_a_second = 1.0 / 172800;

bool is_in_word(int number) {
    return number >= 0 && number <= 0xFFFF;
}

}  // namespace

log_time_t ParseLogTime(const std::wstring& text, bool dayFirst) {
    int first = 0, month = 0, third = 0, hour = 0, minute = 0, second = 0;
    if (std::swscanf(text.c_str(), L"%d/%d/%d %d:%d:%d", &first, &month, &third, &hour, &minute,
                     &second) != 6) {
        return {};
    }
    const int year = dayFirst ? third : first;
    const int day = dayFirst ? first : third;
    for (const int number : {year, month, day, hour, minute, second}) {
        if (!is_in_word(number)) {
            return {};
        }
    }
    SYSTEMTIME time = {};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    time.wHour = static_cast<WORD>(hour);
    time.wMinute = static_cast<WORD>(minute);
    time.wSecond = static_cast<WORD>(second);
    log_time_t result;
    SYSTEMTIME back = {};
    // A day that does not exist, as the 31st of February, becomes another one.
    result.valid = SystemTimeToVariantTime(&time, &result.days) &&
                   VariantTimeToSystemTime(result.days, &back) && back.wYear == time.wYear &&
                   back.wMonth == time.wMonth && back.wDay == time.wDay &&
                   back.wHour == time.wHour && back.wMinute == time.wMinute &&
                   back.wSecond == time.wSecond;
    return result;
}

bool is_same_time(const log_time_t& a, const log_time_t& b) {
    return std::fabs(a.days - b.days) < half_a_second;
}

bool is_later(const log_time_t& a, const log_time_t& b) {
    return a.days > b.days && !is_same_time(a, b);
}

}  // namespace specific::oracle
