// The handles of the Oracle client, and the one place that knows its status values.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/interface.h"

namespace specific::oracle {

/// Owns an OCI error handle.
class COracleError {
  public:
    COracleError(OCIError* error, abandoned_t session_abandoned)
        : handle(error), abandoned(std::move(session_abandoned)) {}
    ~COracleError() { get_interface()->handle_free(handle, OCI_HTYPE_ERROR, abandoned); }
    COracleError(const COracleError&) = delete;
    COracleError& operator=(const COracleError&) = delete;

    OCIError* get() const { return handle; }

  private:
    OCIError* handle;
    abandoned_t abandoned;
};

/// Owns an OCI handle of any other type. An abandoned one is never freed: it may belong to a call
/// that hangs.
class COracleHandle {
  public:
    COracleHandle(void* oci_handle, ub4 handle_type, abandoned_t session_abandoned)
        : handle(oci_handle), type(handle_type), abandoned(std::move(session_abandoned)) {}
    ~COracleHandle();
    COracleHandle(const COracleHandle&) = delete;
    COracleHandle& operator=(const COracleHandle&) = delete;

    template <typename Oci = void>
    Oci* get() const {
        return static_cast<Oci*>(handle);
    }
    ub4 get_type() const { return type; }

  private:
    void* handle;
    ub4 type;
    abandoned_t abandoned;
};

/// An OCI environment with its one error handle.
class COracleEnv {
  public:
    /// `abandoned` is the session's own. Throws runtime_exc_t when the environment or its error
    /// handle cannot be had.
    static boost::shared_ptr<COracleEnv> create(const abandoned_t& abandoned = make_abandoned());

    /// An abandoned environment is never freed, nor is any handle of it.
    ~COracleEnv();
    COracleEnv(const COracleEnv&) = delete;
    COracleEnv& operator=(const COracleEnv&) = delete;

    boost::shared_ptr<COracleHandle> alloc_handle(ub4 type);

    /// Turns the status of an OCI call into an exception: COracleExc with the ORA number for what
    /// Oracle reported, runtime_exc_t for a status that no call should give. Returns 0, or
    /// `ignored_code` when that is the ORA number that Oracle reported.
    std::uint32_t check(sword status, std::uint32_t ignored_code = 0);

    OCIEnv* get() const { return env; }
    OCIError* error_handle() const { return error->get(); }
    const abandoned_t& abandoned() const { return m_abandoned; }

  private:
    COracleEnv(OCIEnv* environment, const abandoned_t& session_abandoned)
        : env(environment), m_abandoned(session_abandoned) {}

    OCIEnv* env;
    boost::shared_ptr<COracleError> error;
    std::wstring last_error;
    abandoned_t m_abandoned;
};

}  // namespace specific::oracle
