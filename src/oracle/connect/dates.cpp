#include "oracle/connect/dates.h"

#include <cstdio>

#include "platform/platform.h"
#include "support/text/format.h"

namespace specific::oracle {

std::string utc_text_expression(const std::string& column) {
    return util::format_message(
        "TO_CHAR(SYS_EXTRACT_UTC(CAST(%1 AS TIMESTAMP)), 'yyyy/mm/dd hh24:mi:ss')", column);
}

std::wstring current_time_text() {
    SYSTEMTIME now;
    GetSystemTime(&now);
    char text[48];
    std::snprintf(text, sizeof text, "%4d-%02d-%02dT%02d:%02d:%02d", now.wYear, now.wMonth,
                  now.wDay, now.wHour, now.wMinute, now.wSecond);
    return std::wstring(text, text + std::char_traits<char>::length(text));
}

}  // namespace specific::oracle
