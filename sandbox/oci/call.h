// The frame of every entry point: handles, faults, the journal, and what it costs.
#pragma once

#include <chrono>
#include <exception>
#include <initializer_list>
#include <string>

#include "sandbox/oci/errors.h"
#include "sandbox/oci/handles.h"

namespace sandbox::oci {

enum class cost { local, round_trip };

/// Carries out the fault that strikes this call. True where the call ends with it, as `status`.
bool strike(OCIEnv& env, const char* entry, const std::string& statement, OCIError* error,
            sword& status);

void note_call(const OCIEnv& env, const char* entry, sword status, int code,
               const std::string& detail);
void note_leak(const OCIEnv& env, const std::string& handles);

/// Ends the process where this is the call that ORALIB_OCI_END_AT says, counted from 1.
void end_if_due();

/// Adds up the time spent inside the client; write_times puts it where ORALIB_OCI_TIMES says.
void add_time(std::chrono::steady_clock::time_point since);
void write_times();

void set_error(OCIError* error, const ora_error_t& failure);

/// `handles` are all that the call was given, null where one is not alive. `detail` goes to the
/// journal as the body leaves it.
template <typename Body>
sword serve(const char* entry, cost price, std::initializer_list<handle_t*> handles,
            OCIError* error, const std::string& detail, const Body& body) {
    end_if_due();
    const auto start = std::chrono::steady_clock::now();
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
            if (!strike(*env, entry, detail, error, status)) {
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
    return status;
}

}  // namespace sandbox::oci
