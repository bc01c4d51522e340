// The way to the Oracle client library: one wrapper for each entry point.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/oci.h"
#include "support/text/secret.h"

namespace specific::oracle {

class COracleEnv;
class COracleHandle;

/// Codes of the structured exceptions that a delay-loaded import raises.
constexpr std::uint32_t delay_load_module_not_found = 0xC06D007E;
constexpr std::uint32_t delay_load_entry_point_not_found = 0xC06D007F;

/// Set when a session is given up on: shared by all that belongs to the session. Any thread may
/// set it.
using abandoned_t = boost::shared_ptr<std::atomic<bool>>;
abandoned_t make_abandoned();

/// The error record of an environment.
struct SOracleError {
    std::uint32_t code;  ///< the ORA number
    std::string text;    ///< as the client gives it; empty without a record
};

/// Stands for the client library. Nobody else calls it, and each call passes the gate of its
/// thread: one on a session, or by a thread, that was given up on is refused with a runtime_exc_t,
/// and so is the answer to a call behind which that happened. What a destructor needs is refused
/// without a word. Failures arrive as the exceptions of COracleEnv::check unless said otherwise.
///
/// The first call binds the library, which is looked for by name in the loader's order and never
/// given back. A missing library or entry point is raised as the structured exception of a
/// delay-loaded import (codes above), not as a C++ one: the guard around a session's creation
/// catches it, and without the bind there is no session.
class CWinOraInterface {
  public:
    /// Throws runtime_exc_t.
    OCIEnv* env_create(const abandoned_t& abandoned) const;
    /// Throws runtime_exc_t.
    OCIError* error_alloc(OCIEnv* env, const abandoned_t& abandoned) const;
    void* handle_alloc(COracleEnv& env, ub4 type) const;
    void handle_free(void* handle, ub4 type, const abandoned_t& abandoned) const;

    /// Makes one handle an attribute of another: OCI_ATTR_SERVER, OCI_ATTR_SESSION.
    void attr_set(COracleEnv& env, const COracleHandle& target, const COracleHandle& value,
                  ub4 attribute) const;
    /// OCI_ATTR_USERNAME, OCI_ATTR_PASSWORD.
    void attr_set(COracleEnv& env, const COracleHandle& target, const std::string& value,
                  ub4 attribute) const;
    void attr_set(COracleEnv& env, const COracleHandle& target, const util::secret_t& value,
                  ub4 attribute) const;

    void server_attach(COracleEnv& env, const COracleHandle& server) const;
    /// The status, for the log alone; OCI_SUCCESS where the call is refused.
    sword server_detach(const COracleEnv& env, const COracleHandle& server) const;
    /// The status, unchecked: OCI_ATTR_SESSION is set between the call and its check.
    sword session_begin(const COracleEnv& env, const COracleHandle& service,
                        const COracleHandle& session, ub4 credentials, ub4 mode) const;
    /// As server_detach.
    sword session_end(const COracleEnv& env, const COracleHandle& service,
                      const COracleHandle& session) const;

    void stmt_prepare(COracleEnv& env, const COracleHandle& statement,
                      const std::string& text) const;
    /// `buffer` and `indicator` are the caller's and are written by each fetch. The define's
    /// handle.
    void* define_by_pos(COracleEnv& env, const COracleHandle& statement, ub4 position, void* buffer,
                        sb4 buffer_size, sb2* indicator) const;
    void bind_by_name(COracleEnv& env, const COracleHandle& statement, const std::string& name,
                      void* value, sb4 value_size, ub2 data_type) const;
    void stmt_execute(COracleEnv& env, const COracleHandle& service, const COracleHandle& statement,
                      ub4 iterations) const;
    /// The status, unchecked.
    sword stmt_fetch(const COracleEnv& env, const COracleHandle& statement) const;
    SOracleError error_get(const COracleEnv& env) const;

    /// Throws runtime_exc_t where the library lacks the calls that start and stop an instance, as
    /// it does before version 10.2.
    void require_instance_control() const;
    void db_startup(COracleEnv& env, const COracleHandle& service) const;
    /// Its status tells nothing that the commands behind it would not.
    void db_shutdown(const COracleEnv& env, const COracleHandle& service, ub4 mode) const;
};

/// The process's one interface object.
boost::shared_ptr<CWinOraInterface> get_interface();

}  // namespace specific::oracle
