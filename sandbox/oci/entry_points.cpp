// The functions that the library binds, but for the two of start_and_stop.cpp. Each checks its
// arguments as strictly as it can.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "sandbox/journal.h"
#include "sandbox/oci/call.h"
#include "sandbox/oci/charset.h"
#include "sandbox/oci/statements.h"
#include "sandbox/oci/values.h"
#include "sandbox/paths.h"

using namespace sandbox;
using namespace sandbox::oci;

namespace {

void choose_instance(OCIEnv& env) {
    const std::string sid = from_client(environment("ORACLE_SID"));
    if (env.sid != sid || !env.instance) {
        env.sid = sid;
        env.instance = served_instance_t::find(env.sandbox, sid);
    }
}

bool serves_this_home(const OCIEnv& env) {
    const auto without_end = [](std::string path) {
        while (!path.empty() && path.back() == '\\') {
            path.pop_back();
        }
        return path;
    };
    const std::string home = without_end(from_client(environment("ORACLE_HOME")));
    return env.instance &&
           (home.empty() || equal_ignoring_case(home, without_end(env.instance->home)));
}

bool is_query(const OCIStmt& statement) {
    return !statement.tokens.empty() &&
           (statement.tokens[0].is("SELECT") || statement.tokens[0].is("WITH"));
}

void check_value_type(const void* value, sb4 size, ub2 data_type) {
    if (data_type != SQLT_STR && data_type != SQLT_INT) {
        fail(3115, "unsupported network datatype or representation");
    }
    const bool fits =
        data_type == SQLT_STR ? size > 0 : size == 1 || size == 2 || size == 4 || size == 8;
    if (!value || !fits) {
        fail(1459, "invalid length for variable character string");
    }
}

void execute(OCIStmt& statement, const OCISvcCtx& service, ub4 iterations) {
    if (!statement.prepared) {
        fail(24337, "statement handle not prepared");
    }
    statement.executed = false;
    const bool query = is_query(statement);
    if (!query && iterations == 0 && statement.unreadable.code == 0) {
        fail(24333, "zero iteration count");
    }
    const OCISession& session = require_session(service);
    if (statement.unreadable.code != 0) {
        throw statement.unreadable;
    }
    served_instance_t& instance = *statement.env->instance;
    const status_t status = instance.status_for(session.identity);
    const execution_t execution{statement, instance, session.identity, status};
    if (query) {
        run_select(statement, instance, status);
    } else if (!statement.tokens.empty() &&
               (statement.tokens[0].is("BEGIN") || statement.tokens[0].is("DECLARE"))) {
        run_block(execution);
    } else {
        run_command(execution);
    }
    statement.executed = true;
}

sword fetch(OCIStmt& statement, OCIError* error) {
    const sword status = fetch_row(statement);
    if (status == OCI_NO_DATA) {
        set_error(error, {1403, ora_line(1403, "no data found")});
    } else if (status == OCI_SUCCESS_WITH_INFO) {
        set_error(error, {24345, ora_line(24345, "A Truncation or null fetch error occurred")});
    }
    return status;
}

}  // namespace

SANDBOX_ENTRY sword OCIEnvCreate(OCIEnv** env, ub4 mode, const void* context,
                                 oci_malloc_t* malloc_callback, oci_realloc_t* realloc_callback,
                                 oci_free_t* free_callback, std::size_t extra_memory_size,
                                 void** user_memory) {
    if (!env || mode > OCI_THREADED || context || malloc_callback || realloc_callback ||
        free_callback || extra_memory_size || user_memory) {
        return OCI_ERROR;
    }
    *env = nullptr;
    auto made = std::make_unique<OCIEnv>();
    OCIEnv* const address = made.get();
    made->sandbox = std::filesystem::u8path(environment("ORALIB_SANDBOX"));
    made->round_trip_microseconds = std::atol(environment("ORALIB_OCI_DELAY_US").c_str());
    if (!made->sandbox.empty() && environment("ORALIB_JOURNAL") != "0" &&
        !std::filesystem::exists(made->sandbox / "oracle/journal.off")) {
        made->journal.open(journal_file(made->sandbox));
    }
    try {
        choose_instance(*made);
    } catch (const std::exception&) {
        // The attach meets the same failure, and has an error handle to tell of it.
    }
    register_handle(std::move(made));
    const sword status = serve("OCIEnvCreate", cost::local, {address}, nullptr, "", [&]() -> sword {
        *env = address;
        return OCI_SUCCESS;
    });
    if (address->outlives_failure) {
        *env = address;
    } else if (status != OCI_SUCCESS) {
        free_handle(address);
    }
    return status;
}

SANDBOX_ENTRY sword OCIHandleAlloc(const void* parent, void** handle, ub4 type, std::size_t,
                                   void**) {
    OCIEnv* const env = find(static_cast<const OCIEnv*>(parent));
    return serve("OCIHandleAlloc", cost::local, {env}, nullptr, std::to_string(type),
                 [&]() -> sword {
                     if (!handle) {
                         return OCI_ERROR;
                     }
                     switch (type) {
                         case OCI_HTYPE_ERROR:
                             *handle = make_handle<OCIError>(env);
                             break;
                         case OCI_HTYPE_SVCCTX:
                             *handle = make_handle<OCISvcCtx>(env);
                             break;
                         case OCI_HTYPE_STMT:
                             *handle = make_handle<OCIStmt>(env);
                             break;
                         case OCI_HTYPE_SERVER:
                             *handle = make_handle<OCIServer>(env);
                             break;
                         case OCI_HTYPE_SESSION:
                             *handle = make_handle<OCISession>(env);
                             break;
                         default:
                             return OCI_INVALID_HANDLE;
                     }
                     return OCI_SUCCESS;
                 });
}

SANDBOX_ENTRY sword OCIHandleFree(void* handle, ub4 type) {
    handle_t* const live = find_handle(handle, type);
    if (live && type == OCI_HTYPE_ENV) {
        const std::string children = list_children(static_cast<OCIEnv*>(live));
        if (!children.empty()) {
            note_leak(*live->env, children);
        }
    }
    // The call is journalled while its handle lives, and freed behind that.
    const sword status = serve("OCIHandleFree", cost::local, {live}, nullptr, std::to_string(type),
                               [] { return OCI_SUCCESS; });
    if (status == OCI_SUCCESS) {
        free_handle(live);
    }
    return status;
}

SANDBOX_ENTRY sword OCIAttrSet(void* target, ub4 target_type, void* value, ub4 size, ub4 attribute,
                               OCIError* error) {
    OCIError* const slot = find(error);
    handle_t* const live = find_handle(target, target_type);
    const std::string text(attribute == OCI_ATTR_USERNAME && value ? static_cast<char*>(value) : "",
                           attribute == OCI_ATTR_USERNAME && value ? size : 0);
    const std::string detail = std::to_string(attribute) + (text.empty() ? "" : " " + text);
    return serve("OCIAttrSet", cost::local, {live, slot}, slot, detail, [&]() -> sword {
        if (target_type == OCI_HTYPE_SVCCTX && attribute == OCI_ATTR_SERVER) {
            auto* const server = find(static_cast<OCIServer*>(value));
            static_cast<OCISvcCtx*>(live)->server = server;
            return server ? OCI_SUCCESS : OCI_INVALID_HANDLE;
        }
        if (target_type == OCI_HTYPE_SVCCTX && attribute == OCI_ATTR_SESSION) {
            auto* const session = find(static_cast<OCISession*>(value));
            static_cast<OCISvcCtx*>(live)->session = session;
            return session ? OCI_SUCCESS : OCI_INVALID_HANDLE;
        }
        if (target_type == OCI_HTYPE_SESSION && attribute == OCI_ATTR_USERNAME) {
            static_cast<OCISession*>(live)->user = from_client(text);
            return OCI_SUCCESS;
        }
        if (target_type == OCI_HTYPE_SESSION && attribute == OCI_ATTR_PASSWORD) {
            // So that a test which looks for the password in memory finds only the module's.
            const bool keeps_none = !environment("ORALIB_OCI_KEEP_NO_PASSWORD").empty();
            static_cast<OCISession*>(live)->password =
                keeps_none
                    ? "kept by nobody"
                    : from_client({value ? static_cast<char*>(value) : "", value ? size : 0});
            return OCI_SUCCESS;
        }
        fail(24315, "illegal attribute type");
    });
}

SANDBOX_ENTRY sword OCIServerAttach(OCIServer* server, OCIError* error,
                                    const OraText* database_link, sb4 database_link_length,
                                    ub4 mode) {
    OCIServer* const live = find(server);
    OCIError* const slot = find(error);
    return serve("OCIServerAttach", cost::round_trip, {live, slot}, slot, "", [&]() -> sword {
        require_default(mode);
        if (database_link || database_link_length) {
            fail(12154, "TNS:could not resolve the connect identifier specified");
        }
        if (live->attached) {
            fail(24309, "already connected to a server");
        }
        choose_instance(*live->env);
        if (!serves_this_home(*live->env)) {
            fail(12560, "TNS:protocol adapter error");
        }
        live->attached = true;
        return OCI_SUCCESS;
    });
}

SANDBOX_ENTRY sword OCIServerDetach(OCIServer* server, OCIError* error, ub4 mode) {
    OCIServer* const live = find(server);
    OCIError* const slot = find(error);
    return serve("OCIServerDetach", cost::round_trip, {live, slot}, slot, "", [&]() -> sword {
        require_default(mode);
        if (!live->attached) {
            fail(3114, "not connected to ORACLE");
        }
        live->attached = false;
        return OCI_SUCCESS;
    });
}

SANDBOX_ENTRY sword OCISessionBegin(OCISvcCtx* service, OCIError* error, OCISession* session,
                                    ub4 credentials, ub4 mode) {
    OCISvcCtx* const context = find(service);
    OCISession* const live = find(session);
    OCIError* const slot = find(error);
    const std::string detail = std::to_string(credentials) + " " + std::to_string(mode);
    return serve("OCISessionBegin", cost::round_trip, {context, live, slot}, slot, detail,
                 [&]() -> sword {
                     if (!context->server || !context->server->attached) {
                         fail(24327, "need explicit attach before authenticating a user");
                     }
                     if (live->begun) {
                         fail(24313, "user already authenticated");
                     }
                     if ((mode & ~(OCI_SYSDBA | OCI_PRELIM_AUTH)) != 0 ||
                         (credentials != OCI_CRED_EXT && credentials != OCI_CRED_RDBMS)) {
                         fail(24300, "bad value for mode");
                     }
                     logon_t logon;
                     logon.external = credentials == OCI_CRED_EXT;
                     logon.user = live->user;
                     logon.password = live->password;
                     logon.sysdba = (mode & OCI_SYSDBA) != 0;
                     logon.preliminary = (mode & OCI_PRELIM_AUTH) != 0;
                     live->identity = context->env->instance->log_on(logon);
                     live->begun = true;
                     if (live->identity.password_expires) {
                         set_error(slot, {28002, ora_line(28002,
                                                          "the password will expire within "
                                                          "7 days")});
                         return OCI_SUCCESS_WITH_INFO;
                     }
                     return OCI_SUCCESS;
                 });
}

SANDBOX_ENTRY sword OCISessionEnd(OCISvcCtx* service, OCIError* error, OCISession* session,
                                  ub4 mode) {
    OCISvcCtx* const context = find(service);
    OCISession* const live = find(session);
    OCIError* const slot = find(error);
    return serve("OCISessionEnd", cost::round_trip, {context, live, slot}, slot, "",
                 [&]() -> sword {
                     require_default(mode);
                     if (!live->begun) {
                         fail(1012, "not logged on");
                     }
                     live->begun = false;
                     return OCI_SUCCESS;
                 });
}

SANDBOX_ENTRY sword OCIStmtPrepare(OCIStmt* statement, OCIError* error, const OraText* text,
                                   ub4 text_length, ub4 language, ub4 mode) {
    OCIStmt* const live = find(statement);
    OCIError* const slot = find(error);
    return serve("OCIStmtPrepare", cost::local, {live, slot}, slot, "", [&]() -> sword {
        require_default(mode);
        if (language != OCI_NTV_SYNTAX || !text) {
            fail(24300, "bad value for mode");
        }
        live->prepared = false;
        live->executed = false;
        live->cursor = {};
        live->text = from_client({reinterpret_cast<const char*>(text), text_length});
        live->tokens.clear();
        live->unreadable = {0, ""};
        try {
            live->tokens = tokenize(live->text);
        } catch (const ora_error_t& failure) {
            // Oracle reads the statement when it is executed.
            live->unreadable = failure;
        }
        live->prepared = true;
        return OCI_SUCCESS;
    });
}

SANDBOX_ENTRY sword OCIDefineByPos(OCIStmt* statement, OCIDefine** define, OCIError* error,
                                   ub4 position, void* value, sb4 value_size, ub2 data_type,
                                   void* indicator, ub2* returned_length, ub2* return_code,
                                   ub4 mode) {
    OCIStmt* const live = find(statement);
    OCIError* const slot = find(error);
    return serve("OCIDefineByPos", cost::local, {live, slot}, slot, std::to_string(position),
                 [&]() -> sword {
                     require_default(mode);
                     if (!live->prepared) {
                         fail(24337, "statement handle not prepared");
                     }
                     if (position == 0 || !define) {
                         fail(24334, "no descriptor for this position");
                     }
                     check_value_type(value, value_size, data_type);
                     OCIDefine*& entry = live->defines[position];
                     entry = entry ? entry : make_handle<OCIDefine>(live->env);
                     entry->statement = live;
                     entry->value = value;
                     entry->size = value_size;
                     entry->data_type = data_type;
                     entry->indicator = static_cast<sb2*>(indicator);
                     entry->length = returned_length;
                     entry->code = return_code;
                     *define = entry;
                     return OCI_SUCCESS;
                 });
}

SANDBOX_ENTRY sword OCIBindByName(OCIStmt* statement, OCIBind** bind, OCIError* error,
                                  const OraText* placeholder, sb4 placeholder_length, void* value,
                                  sb4 value_size, ub2 data_type, void* indicator, ub2*, ub2*,
                                  ub4 max_array_length, ub4* current_elements, ub4 mode) {
    OCIStmt* const live = find(statement);
    OCIError* const slot = find(error);
    std::string name;
    if (placeholder) {
        const char* text = reinterpret_cast<const char*>(placeholder);
        name.assign(text, placeholder_length < 0 ? std::strlen(text)
                                                 : static_cast<std::size_t>(placeholder_length));
    }
    return serve("OCIBindByName", cost::local, {live, slot}, slot, name, [&]() -> sword {
        require_default(mode);
        if (!live->prepared) {
            fail(24337, "statement handle not prepared");
        }
        const std::string key = to_upper(name.substr(name.compare(0, 1, ":") == 0 ? 1 : 0));
        const auto& tokens = live->tokens;
        if (!bind || max_array_length || current_elements ||
            std::none_of(tokens.begin(), tokens.end(), [&](const token_t& token) {
                return token.kind == token_t::kind_t::placeholder && token.upper == key;
            })) {
            fail(1036, "illegal variable name/number");
        }
        check_value_type(value, value_size, data_type);
        OCIBind*& entry = live->binds[key];
        entry = entry ? entry : make_handle<OCIBind>(live->env);
        entry->statement = live;
        entry->value = value;
        entry->size = value_size;
        entry->data_type = data_type;
        entry->indicator = static_cast<sb2*>(indicator);
        *bind = entry;
        return OCI_SUCCESS;
    });
}

SANDBOX_ENTRY sword OCIStmtExecute(OCISvcCtx* service, OCIStmt* statement, OCIError* error,
                                   ub4 iterations, ub4 row_offset, const OCISnapshot* snapshot_in,
                                   OCISnapshot* snapshot_out, ub4 mode) {
    OCISvcCtx* const context = find(service);
    OCIStmt* const live = find(statement);
    OCIError* const slot = find(error);
    static const std::string none;
    return serve("OCIStmtExecute", cost::round_trip, {context, live, slot}, slot,
                 live ? live->text : none, [&]() -> sword {
                     require_default(mode);
                     if (iterations > 1 || row_offset || snapshot_in || snapshot_out) {
                         fail(24300, "bad value for mode");
                     }
                     execute(*live, *context, iterations);
                     return is_query(*live) && iterations == 1 ? fetch(*live, slot) : OCI_SUCCESS;
                 });
}

SANDBOX_ENTRY sword OCIStmtFetch2(OCIStmt* statement, OCIError* error, ub4 rows, ub2 orientation,
                                  sb4 scroll_offset, ub4 mode) {
    OCIStmt* const live = find(statement);
    OCIError* const slot = find(error);
    return serve("OCIStmtFetch2", cost::round_trip, {live, slot}, slot, "", [&]() -> sword {
        require_default(mode);
        if (orientation != OCI_FETCH_NEXT || scroll_offset || rows != 1) {
            fail(24391, "invalid fetch operation");
        }
        if (!live->executed || !is_query(*live)) {
            fail(24338, "statement handle not executed");
        }
        return fetch(*live, slot);
    });
}

SANDBOX_ENTRY sword OCIErrorGet(void* handle, ub4 record_number, OraText* sql_state,
                                sb4* error_code, OraText* buffer, ub4 buffer_size, ub4 type) {
    auto* const live = type == OCI_HTYPE_ERROR ? find(static_cast<OCIError*>(handle)) : nullptr;
    if (!live || !error_code || !buffer || buffer_size == 0) {
        return OCI_INVALID_HANDLE;
    }
    // No error slot is given to the frame: the record must outlive the call that reads it.
    return serve("OCIErrorGet", cost::local, {live}, nullptr, "", [&]() -> sword {
        *error_code = 0;
        *buffer = 0;
        if (record_number != 1 || live->code == 0) {
            return OCI_NO_DATA;
        }
        const std::size_t length = std::min<std::size_t>(live->text.size(), buffer_size - 1);
        std::memcpy(buffer, live->text.data(), length);
        buffer[length] = 0;
        *error_code = live->code;
        if (sql_state) {
            std::memcpy(sql_state, "72000", 6);
        }
        return OCI_SUCCESS;
    });
}
