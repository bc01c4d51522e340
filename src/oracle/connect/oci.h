// The part of the Oracle Call Interface that oralib uses: handle types, constants, and the
// prototypes of the sixteen entry points, declared from Oracle's public documentation.
// Included inside src/oracle/connect/ and by the client stand-in of the sandbox, nowhere else.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

using sword = int;
using sb2 = std::int16_t;
using ub2 = std::uint16_t;
using sb4 = std::int32_t;
using ub4 = std::uint32_t;
using OraText = unsigned char;

struct OCIEnv;
struct OCIError;
struct OCISvcCtx;
struct OCIServer;
struct OCISession;
struct OCIStmt;
struct OCIDefine;
struct OCIBind;
struct OCISnapshot;
struct OCIAdmin;

constexpr sword OCI_SUCCESS = 0;
constexpr sword OCI_SUCCESS_WITH_INFO = 1;
constexpr sword OCI_NO_DATA = 100;
constexpr sword OCI_ERROR = -1;
constexpr sword OCI_INVALID_HANDLE = -2;

constexpr ub4 OCI_DEFAULT = 0;
constexpr ub4 OCI_THREADED = 1;
constexpr ub4 OCI_SYSDBA = 2;
constexpr ub4 OCI_PRELIM_AUTH = 8;
constexpr ub4 OCI_CRED_RDBMS = 1;
constexpr ub4 OCI_CRED_EXT = 2;
constexpr ub4 OCI_NTV_SYNTAX = 1;
constexpr ub2 OCI_FETCH_NEXT = 2;

constexpr ub4 OCI_HTYPE_ENV = 1;
constexpr ub4 OCI_HTYPE_ERROR = 2;
constexpr ub4 OCI_HTYPE_SVCCTX = 3;
constexpr ub4 OCI_HTYPE_STMT = 4;
constexpr ub4 OCI_HTYPE_BIND = 5;
constexpr ub4 OCI_HTYPE_DEFINE = 6;
constexpr ub4 OCI_HTYPE_SERVER = 8;
constexpr ub4 OCI_HTYPE_SESSION = 9;

constexpr ub4 OCI_ATTR_SERVER = 6;
constexpr ub4 OCI_ATTR_SESSION = 7;
constexpr ub4 OCI_ATTR_USERNAME = 22;
constexpr ub4 OCI_ATTR_PASSWORD = 23;

constexpr ub2 SQLT_INT = 3;
constexpr ub2 SQLT_STR = 5;

constexpr ub4 OCI_DBSHUTDOWN_TRANSACTIONAL = 1;
constexpr ub4 OCI_DBSHUTDOWN_TRANSACTIONAL_LOCAL = 2;
constexpr ub4 OCI_DBSHUTDOWN_IMMEDIATE = 3;
constexpr ub4 OCI_DBSHUTDOWN_ABORT = 4;
constexpr ub4 OCI_DBSHUTDOWN_FINAL = 5;

using oci_malloc_t = void*(void* context, std::size_t size);
using oci_realloc_t = void*(void* context, void* memory, std::size_t size);
using oci_free_t = void(void* context, void* memory);

sword OCIEnvCreate(OCIEnv** env, ub4 mode, const void* context, oci_malloc_t* malloc_callback,
                   oci_realloc_t* realloc_callback, oci_free_t* free_callback,
                   std::size_t extra_memory_size, void** user_memory);
sword OCIHandleAlloc(const void* parent, void** handle, ub4 type, std::size_t extra_memory_size,
                     void** user_memory);
sword OCIHandleFree(void* handle, ub4 type);
sword OCIAttrSet(void* target, ub4 target_type, void* value, ub4 size, ub4 attribute,
                 OCIError* error);
sword OCIServerAttach(OCIServer* server, OCIError* error, const OraText* database_link,
                      sb4 database_link_length, ub4 mode);
sword OCIServerDetach(OCIServer* server, OCIError* error, ub4 mode);
sword OCISessionBegin(OCISvcCtx* service, OCIError* error, OCISession* session, ub4 credentials,
                      ub4 mode);
sword OCISessionEnd(OCISvcCtx* service, OCIError* error, OCISession* session, ub4 mode);
sword OCIStmtPrepare(OCIStmt* statement, OCIError* error, const OraText* text, ub4 text_length,
                     ub4 language, ub4 mode);
sword OCIDefineByPos(OCIStmt* statement, OCIDefine** define, OCIError* error, ub4 position,
                     void* value, sb4 value_size, ub2 data_type, void* indicator,
                     ub2* returned_length, ub2* return_code, ub4 mode);
sword OCIBindByName(OCIStmt* statement, OCIBind** bind, OCIError* error, const OraText* placeholder,
                    sb4 placeholder_length, void* value, sb4 value_size, ub2 data_type,
                    void* indicator, ub2* actual_length, ub2* return_code, ub4 max_array_length,
                    ub4* current_elements, ub4 mode);
sword OCIStmtExecute(OCISvcCtx* service, OCIStmt* statement, OCIError* error, ub4 iterations,
                     ub4 row_offset, const OCISnapshot* snapshot_in, OCISnapshot* snapshot_out,
                     ub4 mode);
sword OCIStmtFetch2(OCIStmt* statement, OCIError* error, ub4 rows, ub2 orientation,
                    sb4 scroll_offset, ub4 mode);
sword OCIErrorGet(void* handle, ub4 record_number, OraText* sql_state, sb4* error_code,
                  OraText* buffer, ub4 buffer_size, ub4 type);
sword OCIDBStartup(OCISvcCtx* service, OCIError* error, OCIAdmin* admin, ub4 mode, ub4 flags);
sword OCIDBShutdown(OCISvcCtx* service, OCIError* error, OCIAdmin* admin, ub4 mode);
}
