// What stands behind OCI's opaque handles, and the register that knows the live ones.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "oracle/connect/oci.h"
#include "sandbox/native.h"
#include "sandbox/oci/errors.h"
#include "sandbox/oci/instance.h"

namespace sandbox::oci {

struct handle_t {
    handle_t(ub4 handle_type, OCIEnv* environment) : type(handle_type), env(environment) {}
    virtual ~handle_t() = default;
    handle_t(const handle_t&) = delete;
    handle_t& operator=(const handle_t&) = delete;

    const ub4 type;
    OCIEnv* const env;
};

template <ub4 Type>
struct typed_handle_t : handle_t {
    static constexpr ub4 handle_type = Type;
    explicit typed_handle_t(OCIEnv* environment) : handle_t(Type, environment) {}
};

}  // namespace sandbox::oci

struct OCIEnv : sandbox::oci::typed_handle_t<OCI_HTYPE_ENV> {
    OCIEnv() : typed_handle_t(this) {}

    std::filesystem::path sandbox;
    std::string sid;
    sandbox::appender_t journal;
    std::unique_ptr<sandbox::oci::served_instance_t> instance;  // null where the SID is unknown
    long round_trip_microseconds = 0;
    bool outlives_failure = false;  // of its own creation
};

struct OCIError : sandbox::oci::typed_handle_t<OCI_HTYPE_ERROR> {
    using typed_handle_t::typed_handle_t;
    sb4 code = 0;
    std::string text;  // in the client's character set
};

struct OCIServer : sandbox::oci::typed_handle_t<OCI_HTYPE_SERVER> {
    using typed_handle_t::typed_handle_t;
    bool attached = false;
};

struct OCISession : sandbox::oci::typed_handle_t<OCI_HTYPE_SESSION> {
    using typed_handle_t::typed_handle_t;
    std::string user;
    std::string password;
    sandbox::oci::identity_t identity;
    bool begun = false;
};

struct OCISvcCtx : sandbox::oci::typed_handle_t<OCI_HTYPE_SVCCTX> {
    using typed_handle_t::typed_handle_t;
    OCIServer* server = nullptr;
    OCISession* session = nullptr;
};

// Memory of the caller that a position or a placeholder stands for.
struct OCIDefine : sandbox::oci::typed_handle_t<OCI_HTYPE_DEFINE> {
    using typed_handle_t::typed_handle_t;
    OCIStmt* statement = nullptr;
    void* value = nullptr;
    sb4 size = 0;
    ub2 data_type = 0;
    sb2* indicator = nullptr;
    ub2* length = nullptr;
    ub2* code = nullptr;
};

struct OCIBind : sandbox::oci::typed_handle_t<OCI_HTYPE_BIND> {
    using typed_handle_t::typed_handle_t;
    OCIStmt* statement = nullptr;
    void* value = nullptr;
    sb4 size = 0;
    ub2 data_type = 0;
    sb2* indicator = nullptr;
};

struct OCIStmt : sandbox::oci::typed_handle_t<OCI_HTYPE_STMT> {
    using typed_handle_t::typed_handle_t;

    bool prepared = false;
    std::string text;  // UTF-8
    std::vector<sandbox::oci::token_t> tokens;
    sandbox::oci::ora_error_t unreadable{0, ""};  // why there are no tokens
    std::map<ub4, OCIDefine*> defines;
    std::map<std::string, OCIBind*> binds;  // by name in capitals, without the colon

    bool executed = false;
    sandbox::oci::cursor_t cursor;
};

namespace sandbox::oci {

/// The live handle at this address, null if there is none or it is of another type.
handle_t* find_handle(const void* address, ub4 type);

template <typename Handle>
Handle* find(const Handle* address) {
    return static_cast<Handle*>(find_handle(address, Handle::handle_type));
}

/// Frees a handle with all that hangs on it, and takes it out of whatever refers to it.
void free_handle(handle_t* handle);

/// While it lives a thread is in a call.
struct inside_t {
    inside_t();
    ~inside_t();
    inside_t(const inside_t&) = delete;
    inside_t& operator=(const inside_t&) = delete;
};

/// The live handles of an environment besides itself in words: "STMT 2, SESSION 1".
std::string list_children(const OCIEnv* env);

void register_handle(std::unique_ptr<handle_t> handle);

/// A handle that is registered, and owned by the register.
template <typename Handle>
Handle* make_handle(OCIEnv* env) {
    auto handle = std::make_unique<Handle>(env);
    Handle* const address = handle.get();
    register_handle(std::move(handle));
    return address;
}

}  // namespace sandbox::oci
