// The times by which archived logs are deleted.
#pragma once

#include <string>

namespace specific::oracle {

/// An OLE automation date, in days; times a log or a cutoff.
struct log_time_t {
    double days = 0;
    bool valid = false;
};

/// "day/month/year hour:minute:second", or with the year first where `dayFirst` is false. What is
/// no such text, or names a day that does not exist, is invalid.
log_time_t ParseLogTime(const std::wstring& text, bool dayFirst);

/// Equal within half a second. Both must be valid.
bool is_same_time(const log_time_t& a, const log_time_t& b);
bool is_later(const log_time_t& a, const log_time_t& b);

}  // namespace specific::oracle
