#include "sandbox/oci/call.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "sandbox/faults.h"
#include "sandbox/journal.h"
#include "sandbox/oci/charset.h"

namespace sandbox::oci {

namespace {

std::atomic<long long> g_nanoseconds{0};
std::atomic<long long> g_calls{0};

// A client library that takes its time to load.
const bool g_loaded = [] {
    sleep_microseconds(std::atol(environment("ORALIB_OCI_LOAD_MS").c_str()) * 1000);
    return true;
}();

struct blow_t {
    std::string kind;
    int value = 0;
    std::string text;
};

// Counts the call for every fault that it matches, and gives the first that is due.
blow_t find_blow(OCIEnv& env, const char* entry, const std::string& statement) {
    blow_t due;
    if (!env.instance || env.instance->fault_targets.empty()) {
        return due;
    }
    const bool executes = std::string(entry) == "OCIStmtExecute";
    const auto& targets = env.instance->fault_targets;
    if (std::none_of(targets.begin(), targets.end(), [&](const std::string& target) {
            return target == entry || (executes && target.compare(0, 3, "OCI") != 0);
        })) {
        return due;
    }
    query_t count(env.instance->database,
                  "UPDATE sandbox_fault SET hits = hits + 1 WHERE target = ?1 OR "
                  "(?2 IS NOT NULL AND target NOT LIKE 'OCI%' AND ?2 LIKE target) "
                  "RETURNING nth, hits, kind, value, text");
    count.bind(1, entry).bind(2, executes ? statement : "");
    while (count.step()) {
        const bool strikes = count.number(0) == 0 || count.number(0) == count.number(1);
        if (strikes && due.kind.empty()) {
            due = {count.text(2), static_cast<int>(count.number(3)), count.text(4)};
        }
    }
    return due;
}

#ifdef _MSC_VER
#define SANDBOX_FAULTY __declspec(noinline)
#else
#define SANDBOX_FAULTY __attribute__((noinline, no_sanitize("address", "undefined", "thread")))
#endif

SANDBOX_FAULTY void write_through_null() {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

SANDBOX_FAULTY int divide_by_zero() {
    volatile int one = 1;
    volatile int zero = 0;
    return one / zero;
}

}  // namespace

void set_error(OCIError* error, const ora_error_t& failure) {
    if (error) {
        error->code = failure.code;
        error->text = to_client(failure.text);
    }
}

void require_default(ub4 mode) {
    if (mode != OCI_DEFAULT) {
        fail(24300, "bad value for mode");
    }
}

OCISession& require_session(const OCISvcCtx& service) {
    if (!service.server || !service.server->attached || !service.session ||
        !service.session->begun) {
        fail(1012, "not logged on");
    }
    return *service.session;
}

void end_if_due() {
    static const long end_at = std::atol(environment("ORALIB_OCI_END_AT").c_str());
    static std::atomic<long> calls{0};
    if (end_at > 0 && ++calls == end_at) {
        end_process();
    }
}

bool strike(OCIEnv& env, const char* entry, const std::string& statement, OCIError* error,
            sword& status, std::chrono::steady_clock::time_point& not_before) {
    const blow_t blow = find_blow(env, entry, statement);
    if (blow.kind.empty()) {
        return false;
    }
    if (blow.kind == to_text(fault_kind::delay)) {
        sleep_microseconds(blow.value * 1000L);
        return false;
    }
    if (blow.kind == to_text(fault_kind::delay_us)) {
        not_before += std::chrono::microseconds(blow.value);
        return false;
    }
    if (blow.kind == to_text(fault_kind::ora)) {
        set_error(error, {blow.value, ora_line(blow.value, "injected fault")});
        if (error && !blow.text.empty()) {
            error->text = blow.text;
        }
        status = OCI_ERROR;
        return true;
    }
    if (blow.kind == to_text(fault_kind::env_left)) {
        env.outlives_failure = true;
        status = OCI_ERROR;
        return true;
    }
    if (blow.kind == to_text(fault_kind::status)) {
        status = blow.value;
        return true;
    }
    // These come back late or never, so the journal has them now, and nothing may be held.
    note_call(env, entry, 0, 0, blow.kind);
    if (blow.kind == to_text(fault_kind::wait)) {
        while (!is_released(env.sandbox)) {
            sleep_microseconds(1000);
        }
        return false;
    }
    if (blow.kind == to_text(fault_kind::hang)) {
        sleep_forever();
    }
    if (blow.kind == to_text(fault_kind::divide)) {
        status = divide_by_zero();
    } else {
        write_through_null();
    }
    return true;
}

void note_call(const OCIEnv& env, const char* entry, sword status, int code,
               const std::string& detail) {
    if (env.journal.is_open()) {
        env.journal.write(
            to_line({process_id(), thread_id(), env.sid, entry, status, code, detail}));
    }
}

void note_leak(const OCIEnv& env, const std::string& handles) {
    note_call(env, "leak", 0, 0, handles);
}

void add_time(std::chrono::steady_clock::time_point since) {
    const auto spent = std::chrono::steady_clock::now() - since;
    g_nanoseconds += std::chrono::duration_cast<std::chrono::nanoseconds>(spent).count();
    ++g_calls;
}

void write_times() {
    const std::string file = environment("ORALIB_OCI_TIMES");
    if (!file.empty()) {
        appender_t times;
        times.open(std::filesystem::u8path(file));
        if (times.is_open()) {
            times.write("inside_us=" + std::to_string(g_nanoseconds / 1000) +
                        " calls=" + std::to_string(g_calls) + "\n");
        }
    }
}

}  // namespace sandbox::oci
