/*
 * oralib: protects the Oracle databases of one machine for a backup agent.
 *
 * The host loads the module, calls OracleVssInitLib once, then any of the operations, and
 * OracleVssStopLib at the end. The module may be unloaded once no call is running; loading it
 * again reads the settings anew, unless a thread still hangs in the client: until it comes back the
 * module stays loaded.
 *
 * Order    OracleVssInitLib, operations, OracleVssStopLib. It is not enforced: before
 *          OracleVssInitLib an operation works but writes no log, after OracleVssStopLib it works
 *          as before.
 * Text     Every text is a zero-terminated string of 16-bit UTF-16 units. An input text belongs to
 *          the host; the module keeps no pointer to it after the call. An empty one stands for
 *          "none". Documents are XML texts; the encoding that one declares is not looked at.
 * Output   The host sets each output to null (or false) before the call. A result is stored only
 *          on success and errorText only on failure; the other stays as the host left it. A text
 *          stored by the module belongs to the host and is released with OracleLibStrFree alone.
 *          A bool is one byte, 0 or 1, as argument and as output.
 * Null     No pointer is tested: an input or an output that is null ends in an access violation,
 *          which passes to the host. Only OracleLibStrFree takes a null pointer.
 * Result   ORALIB_OK or ORALIB_FAILED, nothing else. ORALIB_OK says that the operation ran to its
 *          end. It does not say that every database went well: work on one database or one log
 *          that fails is written to the log, reported in the document where the document has a
 *          place for it, and the others go on.
 * Errors   errorText holds the lines of the failure, the cause first, separated by line feeds.
 *          Lines that begin with "--tr:" tell the way through the module, the others are for
 *          people. Passwords never appear in it, nor in the log.
 * Threads  Calls run on the caller's thread and under its security token. OracleVssInitLib is
 *          called from one thread before the others; after that operations may run on several
 *          threads at once, but not two explorations, nor prepare and finish for the same
 *          databases: nothing in the module keeps them apart. Connections are made one after the
 *          other; one that hangs holds the others up for OracleConnectionTimeout seconds at most.
 * Process  The module sets ORACLE_HOME and ORACLE_SID in the environment of the process.
 *
 * An empty userName means operating-system authentication to the database.
 */
#ifndef ORALIB_ORALIB_H
#define ORALIB_ORALIB_H

#include <stdbool.h>
#include <stdint.h>

#ifdef _WIN32
#include <wchar.h>
typedef wchar_t oralib_char;
#elif defined(__cplusplus)
typedef char16_t oralib_char;
#else
typedef uint_least16_t oralib_char;
#endif

/* Windows' HRESULT: S_OK and E_FAIL. */
typedef int32_t oralib_result;
#define ORALIB_OK ((oralib_result)0)
#define ORALIB_FAILED ((oralib_result)-2147467259) /* 0x80004005 */

#if defined(__GNUC__) && !defined(_WIN32)
#define ORALIB_API __attribute__((visibility("default")))
#else
#define ORALIB_API
#endif

/* Whatever the host's own default is. */
#ifdef _WIN32
#define ORALIB_CALL __cdecl
#else
#define ORALIB_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Starts the log and reads the settings; once for each load of the module, later calls return
 * ORALIB_OK and do nothing. After a failure it may be called again.
 * logName: name of the log file with its extension, relative to the log directory, or an absolute
 * path. An empty name sends the log to standard output. In any case the start of the log prints one
 * line on standard output, "LOG: Initializing log file ...".
 */
ORALIB_API oralib_result ORALIB_CALL OracleVssInitLib(const oralib_char* logName,
                                                      oralib_char** errorText);

/* Ends the host's use of the module. The log stays open until the module is unloaded. */
ORALIB_API oralib_result ORALIB_CALL OracleVssStopLib(oralib_char** errorText);

/*
 * Finds the Oracle homes and instances of the machine and describes them in *resultXml
 * (docs/formats/explore.md). An instance that cannot be read has an entry with its reason.
 * collectPfile: also fetch the text of each database's parameter file.
 * configXml: databases to leave out and log positions (docs/formats/explore-config.md), or empty;
 * what cannot be understood of it is left aside and logged.
 */
ORALIB_API oralib_result ORALIB_CALL OracleExploreInstances(
    bool collectPfile, const oralib_char* userName, const oralib_char* password,
    const oralib_char* configXml, oralib_char** resultXml, oralib_char** errorText);

/*
 * Brings each database into a state in which a snapshot of it can be restored. *resultXml is the
 * only memory of what was done and must be given to OracleFinishDbsBackup, whatever happens. A
 * database is shut down only where it said that it has no archive logging.
 * osUserName, osPassword: the account to use at restore time.
 */
ORALIB_API oralib_result ORALIB_CALL OraclePrepareDbsForBackup(
    const oralib_char* configXml, const oralib_char* userName, const oralib_char* password,
    const oralib_char* osUserName, const oralib_char* osPassword, oralib_char** resultXml,
    oralib_char** errorText);

/*
 * Undoes what OraclePrepareDbsForBackup did, by the document that it returned. Where the folder of
 * the meta file cannot be made it fails, after all databases have been finished.
 */
ORALIB_API oralib_result ORALIB_CALL OracleFinishDbsBackup(const oralib_char* prepareXml,
                                                           const oralib_char* userName,
                                                           const oralib_char* password,
                                                           oralib_char** errorText);

/*
 * Stages the archived logs of one instance behind the position usn, lastRecId (decimal texts) of
 * the previous log backup, and lists them in *resultXml. oracleHome and sid are taken as given.
 */
ORALIB_API oralib_result ORALIB_CALL
OracleBackupLogs(const oralib_char* oracleHome, const oralib_char* sid, const oralib_char* usn,
                 const oralib_char* lastRecId, const oralib_char* userName,
                 const oralib_char* password, oralib_char** resultXml, oralib_char** errorText);

/* Lists the logs in the staging folder. */
ORALIB_API oralib_result ORALIB_CALL OracleEnumLogs(oralib_char** resultXml,
                                                    oralib_char** errorText);

/* Removes the listed logs from the staging folder. */
ORALIB_API oralib_result ORALIB_CALL OracleRemoveLogsInTemp(const oralib_char* logs,
                                                            oralib_char** errorText);

/* The staging folder for logs: the setting OracleTempLogPath. It need not exist yet. */
ORALIB_API oralib_result ORALIB_CALL OracleGetLogsFolder(oralib_char** folder,
                                                         oralib_char** errorText);

/*
 * Deletes the archived logs of one instance that are older than so many minutes. More minutes than
 * there is time delete nothing, a negative number counts into the future.
 */
ORALIB_API oralib_result ORALIB_CALL OracleDeleteLogsByTime(const oralib_char* oracleHome,
                                                            const oralib_char* sid, int32_t minutes,
                                                            const oralib_char* userName,
                                                            const oralib_char* password,
                                                            oralib_char** errorText);

/* Deletes the oldest archived logs of one instance above a total of sizeLimit bytes. */
ORALIB_API oralib_result ORALIB_CALL OracleDeleteLogsBySize(
    const oralib_char* oracleHome, const oralib_char* sid, int64_t sizeLimit,
    const oralib_char* userName, const oralib_char* password, oralib_char** errorText);

/* Tells whether this machine was brought back from an image whose databases await recovery. */
ORALIB_API oralib_result ORALIB_CALL OracleIsRestoreRequired(bool* required,
                                                             oralib_char** errorText);

/* Finishes the recovery of the databases of a machine brought back from an image. */
ORALIB_API oralib_result ORALIB_CALL OracleDoRestore(oralib_char** errorText);

/* Tells whether the machine has an ASM instance, from the registry alone. */
ORALIB_API oralib_result ORALIB_CALL OracleCheckIfAsmExist(bool* exists, oralib_char** errorText);

/*
 * Diagnosis at a console: starts the module, connects to each instance, prints what it finds on
 * standard output and waits for a key. The first two parameters are not looked at.
 */
ORALIB_API oralib_result ORALIB_CALL OracleTest(void* ignored1, void* ignored2,
                                                const oralib_char* logName,
                                                oralib_char** errorText);

/* Releases a text that the module handed out; null is allowed. */
ORALIB_API void ORALIB_CALL OracleLibStrFree(oralib_char* text);

#ifdef __cplusplus
}
#endif

#endif
