// The handles of the Oracle client, and the one place that knows its status values.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/oci.h"

namespace specific::oracle {

/// Owns an OCI error handle.
class COracleError {
  public:
    explicit COracleError(OCIError* error) : handle(error) {}
    ~COracleError();
    COracleError(const COracleError&) = delete;
    COracleError& operator=(const COracleError&) = delete;

    OCIError* get() const { return handle; }
    void abandon() { handle = nullptr; }

  private:
    OCIError* handle;
};

/// Owns an OCI handle of any other type. An abandoned one is never freed: it may belong to a call
/// that hangs.
class COracleHandle {
  public:
    COracleHandle(void* oci_handle, ub4 handle_type) : handle(oci_handle), type(handle_type) {}
    ~COracleHandle();
    COracleHandle(const COracleHandle&) = delete;
    COracleHandle& operator=(const COracleHandle&) = delete;

    template <typename Oci = void>
    Oci* get() const {
        return static_cast<Oci*>(handle);
    }
    void abandon() { abandoned = true; }

  private:
    void* handle;
    ub4 type;
    bool abandoned = false;
};

/// An OCI environment with its one error handle.
class COracleEnv {
  public:
    /// Throws runtime_exc_t when the environment or its error handle cannot be had.
    static boost::shared_ptr<COracleEnv> create();

    ~COracleEnv();
    COracleEnv(const COracleEnv&) = delete;
    COracleEnv& operator=(const COracleEnv&) = delete;

    boost::shared_ptr<COracleHandle> alloc_handle(ub4 type);

    /// Turns the status of an OCI call into an exception: COracleExc with the ORA number for what
    /// Oracle reported, runtime_exc_t for a status that no call should give. Returns 0, or
    /// `ignored_code` when that is the ORA number that Oracle reported.
    std::uint32_t check(sword status, std::uint32_t ignored_code = 0);

    OCIError* error_handle() const { return error->get(); }

    /// From now on no handle of this environment is freed.
    void abandon() { abandoned = true; }

  private:
    explicit COracleEnv(OCIEnv* environment) : env(environment) {}

    OCIEnv* env;
    boost::shared_ptr<COracleError> error;
    std::wstring last_error;
    bool abandoned = false;
};

}  // namespace specific::oracle
