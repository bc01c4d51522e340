#include "sandbox/oci/values.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "sandbox/oci/charset.h"
#include "sandbox/oci/errors.h"

namespace sandbox::oci {

namespace {

template <typename Define>
void report(const Define& define, sb2 indicator, ub2 length, ub2 code) {
    if (define.indicator) {
        *define.indicator = indicator;
    }
    if (define.length) {
        *define.length = length;
    }
    if (define.code) {
        *define.code = code;
    }
}

void store_number(void* memory, sb4 size, std::int64_t number) {
    const std::int8_t one = static_cast<std::int8_t>(number);
    const std::int16_t two = static_cast<std::int16_t>(number);
    const std::int32_t four = static_cast<std::int32_t>(number);
    switch (size) {
        case 1:
            std::memcpy(memory, &one, 1);
            break;
        case 2:
            std::memcpy(memory, &two, 2);
            break;
        case 4:
            std::memcpy(memory, &four, 4);
            break;
        default:
            std::memcpy(memory, &number, 8);
    }
}

std::int64_t load_number(const void* memory, sb4 size) {
    std::int8_t one = 0;
    std::int16_t two = 0;
    std::int32_t four = 0;
    std::int64_t eight = 0;
    switch (size) {
        case 1:
            std::memcpy(&one, memory, 1);
            return one;
        case 2:
            std::memcpy(&two, memory, 2);
            return two;
        case 4:
            std::memcpy(&four, memory, 4);
            return four;
        default:
            std::memcpy(&eight, memory, 8);
            return eight;
    }
}

}  // namespace

bool write_value(const OCIDefine& define, const char* text, std::int32_t length) {
    if (define.data_type == SQLT_INT) {
        char* end = nullptr;
        const std::string digits(text, static_cast<std::size_t>(length));
        const long long number = std::strtoll(digits.c_str(), &end, 10);
        if (*end) {
            fail(1722, "invalid number");
        }
        store_number(define.value, define.size, number);
        report(define, 0, static_cast<ub2>(define.size), 0);
        return true;
    }
    const std::int32_t written = std::min(length, define.size - 1);
    std::memcpy(define.value, text, static_cast<std::size_t>(written));
    static_cast<char*>(define.value)[written] = 0;
    const bool whole = written == length;
    const sb2 indicator = whole ? 0 : length <= SHRT_MAX ? static_cast<sb2>(length) : sb2{-2};
    report(define, indicator, static_cast<ub2>(written), whole ? 0 : value_truncated);
    return whole;
}

void write_null(const OCIDefine& define) {
    report(define, -1, 0, null_fetched);
}

const OCIBind& bound_value(const OCIStmt& statement, const std::string& name) {
    const auto found = statement.binds.find(name);
    if (found == statement.binds.end()) {
        fail(1008, "not all variables bound");
    }
    return *found->second;
}

std::optional<std::string> read_value(const OCIBind& bind) {
    if (bind.indicator && *bind.indicator == -1) {
        return std::nullopt;
    }
    if (bind.data_type == SQLT_INT) {
        return std::to_string(load_number(bind.value, bind.size));
    }
    const char* text = static_cast<const char*>(bind.value);
    const void* end = std::memchr(text, 0, static_cast<std::size_t>(bind.size));
    if (!end) {
        fail(1480, "trailing null missing from STR bind value");
    }
    return *text ? std::optional<std::string>(from_client(text)) : std::nullopt;
}

void write_number(const OCIBind& bind, std::int64_t number) {
    if (bind.data_type == SQLT_INT) {
        store_number(bind.value, bind.size, number);
    } else {
        const std::string text = std::to_string(number);
        if (text.size() >= static_cast<std::size_t>(bind.size)) {
            fail(6502, "PL/SQL: numeric or value error: character string buffer too small");
        }
        std::memcpy(bind.value, text.c_str(), text.size() + 1);
    }
    if (bind.indicator) {
        *bind.indicator = 0;
    }
}

}  // namespace sandbox::oci
