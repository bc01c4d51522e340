#include "sandbox/oci/functions.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "sandbox/oci/errors.h"
#include "sandbox/oci/instance.h"
#include "sandbox/paths.h"

namespace sandbox::oci {

namespace {

std::string text_of(sqlite3_value* value) {
    const unsigned char* text = sqlite3_value_text(value);
    return text ? reinterpret_cast<const char*>(text) : "";
}

void give(sqlite3_context* context, const std::string& text) {
    if (text.empty()) {
        sqlite3_result_null(context);
    } else {
        sqlite3_result_text(context, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    }
}

void give_error(sqlite3_context* context, int code, const std::string& message) {
    sqlite3_result_error(context, ora_line(code, message).c_str(), -1);
}

// Dates are kept as "2024-01-31 23:59:59".
void to_char(sqlite3_context* context, int count, sqlite3_value** values) {
    const std::string value = text_of(values[0]);
    if (count == 1 || value.empty()) {
        give(context, value);
        return;
    }
    static const struct {
        const char* name;
        std::size_t begin;
        std::size_t length;
    } parts[] = {{"YYYY", 0, 4}, {"HH24", 11, 2}, {"MM", 5, 2},
                 {"DD", 8, 2},   {"MI", 14, 2},   {"SS", 17, 2}};
    const std::string format = text_of(values[1]);
    const std::string upper = to_upper(format);
    std::string result;
    for (std::size_t i = 0; i < format.size();) {
        const auto part = std::find_if(std::begin(parts), std::end(parts), [&](const auto& entry) {
            return upper.compare(i, std::string(entry.name).size(), entry.name) == 0;
        });
        if (part != std::end(parts) && value.size() >= 19) {
            result += value.substr(part->begin, part->length);
            i += std::string(part->name).size();
        } else if (upper[i] >= 'A' && upper[i] <= 'Z') {
            give_error(context, 1821, "date format not recognized");
            return;
        } else {
            result += format[i++];
        }
    }
    give(context, result);
}

// From local time, which is that of the sandbox's machine, to UTC.
long utc_offset(const served_instance_t& instance) {
    const auto minutes = [&](const char* key, long fallback) {
        const std::string text = ini_value(instance.sandbox / "host.ini", "host", key);
        return text.empty() ? fallback : std::strtol(text.c_str(), nullptr, 0);
    };
    const long state = minutes("time_zone_state", 1);
    const long season = state == 1   ? minutes("standard_bias", 0)
                        : state == 2 ? minutes("daylight_bias", -60)
                                     : 0;
    return minutes("time_zone_bias", -60) + season;
}

void extract_utc(sqlite3_context* context, int, sqlite3_value** values) {
    const auto& instance = *static_cast<served_instance_t*>(sqlite3_user_data(context));
    query_t query(instance.database, "SELECT datetime(?1, ?2)");
    query.bind(1, text_of(values[0])).bind(2, std::to_string(utc_offset(instance)) + " minutes");
    give(context, query.step() ? query.text(0) : "");
}

void sys_context(sqlite3_context* context, int, sqlite3_value** values) {
    static const struct {
        const char* name;
        const char* column;
    } parameters[] = {{"DB_NAME", "name"},
                      {"DB_UNIQUE_NAME", "unique_name"},
                      {"DB_DOMAIN", "domain"},
                      {"INSTANCE_NAME", "sid"},
                      {"SERVER_HOST", "host"}};
    const auto& instance = *static_cast<served_instance_t*>(sqlite3_user_data(context));
    if (equal_ignoring_case(text_of(values[0]), "USERENV")) {
        for (const auto& parameter : parameters) {
            if (equal_ignoring_case(text_of(values[1]), parameter.name)) {
                query_t query(instance.database,
                              std::string("SELECT ") + parameter.column + " FROM sandbox_instance");
                give(context, query.step() ? query.text(0) : "");
                return;
            }
        }
    }
    give_error(context, 2003, "invalid USERENV parameter");
}

}  // namespace

void add_functions(served_instance_t& instance) {
    const auto add = [&](const char* name, int count, auto* function) {
        sqlite3_create_function(instance.database.handle(), name, count, SQLITE_UTF8, &instance,
                                function, nullptr, nullptr);
    };
    add("TO_CHAR", 1, to_char);
    add("TO_CHAR", 2, to_char);
    add("SYS_EXTRACT_UTC", 1, extract_utc);
    add("SYS_CONTEXT", 2, sys_context);
}

std::string local_time(const served_instance_t& instance) {
    query_t query(instance.database, "SELECT datetime('now', ?)");
    query.bind(1, std::to_string(-utc_offset(instance)) + " minutes");
    query.step();
    return query.text(0);
}

}  // namespace sandbox::oci
