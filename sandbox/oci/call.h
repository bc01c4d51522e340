// The frame of every entry point: handles, faults, the journal, and what it costs.
#pragma once

#include <chrono>
#include <exception>
#include <initializer_list>
#include <string>

#include "sandbox/oci/errors.h"
#include "sandbox/oci/handles.h"

#ifdef _WIN32
#define SANDBOX_ENTRY extern "C" __declspec(dllexport)
#else
#define SANDBOX_ENTRY extern "C" __attribute__((visibility("default")))
#endif

namespace sandbox::oci {

enum class cost { local, round_trip };

/// Carries out the fault that strikes this call. True where the call ends with it, as `status`.
/// The call may not return before `not_before`, which is when it came.
bool strike(OCIEnv& env, const char* entry, const std::string& statement, OCIError* error,
            sword& status, std::chrono::steady_clock::time_point& not_before);

void note_call(const OCIEnv& env, const char* entry, sword status, int code,
               const std::string& detail);
void note_leak(const OCIEnv& env, const std::string& handles);

/// Ends the process where this is the call that ORALIB_OCI_END_AT says, counted from 1.
void end_if_due();

/// Adds up the time spent inside the client; write_times puts it where ORALIB_OCI_TIMES says.
void add_time(std::chrono::steady_clock::time_point since);
void write_times();

/// The error in the client's character set.
void set_error(OCIError* error, const ora_error_t& failure);

void require_default(ub4 mode);
/// The service's session, which is logged on.
OCISession& require_session(const OCISvcCtx& service);

/// `handles` are all that the call was given, null where one is not alive. `detail` goes to the
/// journal as the body leaves it.
template <typename Body>
sword serve(const char* entry, cost price, std::initializer_list<handle_t*> handles,
            OCIError* error, const std::string& detail, const Body& body) {
    end_if_due();
    const inside_t inside;
    const auto start = std::chrono::steady_clock::now();
    auto not_before = start;
    OCIEnv* env = nullptr;
    bool valid = true;
    for (const handle_t* handle : handles) {
        env = env || !handle ? env : handle->env;
        valid = valid && handle && handle->env == env;
    }
    sword status = OCI_INVALID_HANDLE;
    if (valid) {
        if (error) {
            set_error(error, {0, ""});
        }
        try {
            if (!strike(*env, entry, detail, error, status, not_before)) {
                if (price == cost::round_trip && env->round_trip_microseconds > 0) {
                    sleep_microseconds(env->round_trip_microseconds);
                }
                status = body();
            }
        } catch (const ora_error_t& failure) {
            set_error(error, failure);
            status = OCI_ERROR;
        } catch (const std::exception& failure) {
            const std::string message = failure.what();
            set_error(error,
                      {600, ora_line(600, "internal error code, arguments: [" + message + "]")});
            status = OCI_ERROR;
        }
    }
    if (env) {
        note_call(*env, entry, status, error ? error->code : 0, detail);
    }
    add_time(start);
    if (not_before > start) {
        sleep_until(not_before);
    }
    return status;
}

}  // namespace sandbox::oci
