// A client of the sandbox's databases in the few words that the tests need.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "oracle/connect/oci.h"
#include "sandbox/builder.h"
#include "sandbox/native.h"

namespace client {

using row_t = std::vector<std::string>;
constexpr int preliminary_sysdba = OCI_SYSDBA | OCI_PRELIM_AUTH;

/// One session; `code` is the ORA number of the last call, -2 for an invalid handle.
class session_t {
  public:
    explicit session_t(const std::string& sid, const std::string& user = "",
                       const std::string& password = "", ub4 mode = OCI_SYSDBA) {
        sandbox::set_environment("ORACLE_SID", sid);
        code = OCIEnvCreate(&env, OCI_THREADED, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
        if (code != OCI_SUCCESS) return;
        error = alloc<OCIError>(OCI_HTYPE_ERROR);
        service = alloc<OCISvcCtx>(OCI_HTYPE_SVCCTX);
        server = alloc<OCIServer>(OCI_HTYPE_SERVER);
        session = alloc<OCISession>(OCI_HTYPE_SESSION);
        if (check(OCIServerAttach(server, error, nullptr, 0, OCI_DEFAULT)) != 0) return;
        OCIAttrSet(service, OCI_HTYPE_SVCCTX, server, 0, OCI_ATTR_SERVER, error);
        OCIAttrSet(service, OCI_HTYPE_SVCCTX, session, 0, OCI_ATTR_SESSION, error);
        set(OCI_ATTR_USERNAME, user);
        set(OCI_ATTR_PASSWORD, password);
        check(OCISessionBegin(service, error, session, user.empty() ? OCI_CRED_EXT : OCI_CRED_RDBMS,
                              mode));
    }

    ~session_t() {
        if (abandoned || !env) return;
        OCISessionEnd(service, error, session, OCI_DEFAULT);
        OCIServerDetach(server, error, OCI_DEFAULT);
        OCIHandleFree(session, OCI_HTYPE_SESSION);
        OCIHandleFree(server, OCI_HTYPE_SERVER);
        OCIHandleFree(service, OCI_HTYPE_SVCCTX);
        OCIHandleFree(error, OCI_HTYPE_ERROR);
        OCIHandleFree(env, OCI_HTYPE_ENV);
    }
    session_t(const session_t&) = delete;
    session_t& operator=(const session_t&) = delete;

    /// All rows as the library gets them, NULL as "(null)".
    std::vector<row_t> select(const std::string& sql, std::size_t columns = 1) {
        std::vector<row_t> rows;
        auto* statement = prepare(sql);
        std::vector<std::string> buffers(columns, std::string(1024, '\0'));
        std::vector<sb2> indicators(columns);
        for (std::size_t i = 0; i < columns; ++i) {
            OCIDefine* define = nullptr;
            OCIDefineByPos(statement, &define, error, static_cast<ub4>(i + 1), &buffers[i][0], 1024,
                           SQLT_STR, &indicators[i], nullptr, nullptr, OCI_DEFAULT);
        }
        if (check(OCIStmtExecute(service, statement, error, columns ? 0 : 1, 0, nullptr, nullptr,
                                 OCI_DEFAULT)) == 0) {
            while (columns &&
                   (last = OCIStmtFetch2(statement, error, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT)) >=
                       0 &&
                   last != OCI_NO_DATA) {
                row_t row;
                for (std::size_t i = 0; i < columns; ++i) {
                    row.push_back(indicators[i] == -1 ? "(null)" : buffers[i].c_str());
                }
                rows.push_back(row);
            }
        }
        OCIHandleFree(statement, OCI_HTYPE_STMT);
        return rows;
    }

    std::string value(const std::string& sql) {
        const auto rows = select(sql);
        return rows.empty() ? "(none)" : rows[0][0];
    }

    /// The ORA number.
    int run(const std::string& command) {
        select(command, 0);
        return code;
    }

    OCIStmt* prepare(const std::string& sql) {
        auto* statement = alloc<OCIStmt>(OCI_HTYPE_STMT);
        check(OCIStmtPrepare(statement, error, reinterpret_cast<const OraText*>(sql.c_str()),
                             static_cast<ub4>(sql.size()), OCI_NTV_SYNTAX, OCI_DEFAULT));
        return statement;
    }

    int check(sword status) {
        last = status;
        code = status;
        OraText buffer[2048] = "";
        if (status == OCI_ERROR || status == OCI_SUCCESS_WITH_INFO) {
            OCIErrorGet(error, 1, nullptr, &code, buffer, sizeof(buffer), OCI_HTYPE_ERROR);
        }
        text = reinterpret_cast<const char*>(buffer);
        return code;
    }

    template <typename Handle>
    Handle* alloc(ub4 type) {
        void* handle = nullptr;
        OCIHandleAlloc(env, &handle, type, 0, nullptr);
        return static_cast<Handle*>(handle);
    }

    OCIEnv* env = nullptr;
    OCIError* error = nullptr;
    OCISvcCtx* service = nullptr;
    OCIServer* server = nullptr;
    OCISession* session = nullptr;
    int code = 0;
    sword last = 0;
    std::string text;
    bool abandoned = false;

  private:
    void set(ub4 attribute, std::string value) {
        if (!value.empty()) {
            OCIAttrSet(session, OCI_HTYPE_SESSION, &value[0], static_cast<ub4>(value.size()),
                       attribute, error);
        }
    }
};

}  // namespace client
