#include "host/hints.h"

#include <ostream>

namespace host {

namespace {

const struct {
    const char* sign;
    const char* hint;
} hints[] = {
    {"ORA-00257",
     "the archiver is stuck: make room where the archived logs go, or let 'retention' "
     "delete old ones"},
    {"ORA-00258", "set the database to archive log mode, or let the settings shut it down"},
    {"ORA-01017", "user or password is wrong"},
    {"ORA-01031", "the account needs SYSDBA; with the system's logon it must be in ORA_DBA"},
    {"ORA-01033", "the database is starting or stopping; try again in a minute"},
    {"ORA-01034", "the instance is down: start its service or STARTUP it"},
    {"ORA-01035",
     "the instance lets only restricted sessions in: ALTER SYSTEM DISABLE RESTRICTED "
     "SESSION"},
    {"ORA-01081", "the instance is half way up or down: SHUTDOWN ABORT, then STARTUP"},
    {"ORA-01089",
     "the instance is being shut down, or somebody left off half way: SHUTDOWN ABORT, "
     "then STARTUP"},
    {"ORA-01090", "the instance is being shut down"},
    {"ORA-01102", "another instance has the database mounted"},
    {"ORA-01109", "the database is mounted but not open: ALTER DATABASE OPEN"},
    {"ORA-01113", "a file needs media recovery: RECOVER DATABASE, then open it"},
    {"ORA-01123", "online backup takes archive log mode: ALTER DATABASE ARCHIVELOG when mounted"},
    {"ORA-01142", "no file is in backup mode: nothing is left to be ended"},
    {"ORA-01146",
     "a file is in backup mode already: see V$BACKUP who is at it; after a crash, "
     "'recover' or ALTER DATABASE END BACKUP"},
    {"ORA-01149", "a file is in backup mode: ALTER DATABASE END BACKUP, then shut down"},
    {"ORA-01157", "a data file is missing or held by another program"},
    {"ORA-01219", "the database is mounted but not open: ALTER DATABASE OPEN"},
    {"ORA-01507", "the database is not mounted: ALTER DATABASE MOUNT"},
    {"ORA-03113", "the connection broke: look into the alert log of the instance"},
    {"ORA-03114", "the connection broke: look into the alert log of the instance"},
    {"ORA-10873",
     "files were left in backup mode: ALTER DATABASE END BACKUP when mounted, then "
     "open"},
    {"ORA-12154", "the name is not in tnsnames.ora; the module needs none for a local instance"},
    {"ORA-12560", "the instance's Windows service does not run"},
    {"ORA-16000", "the database is open read-only and cannot be put into backup mode"},
    {"ORA-16014", "no archive destination takes logs: make room or mend the destination"},
    {"ORA-16038", "a log cannot be archived: make room or mend the destination"},
    {"ORA-19504", "a file could not be made: room and rights of the destination"},
    {"ORA-19505", "a file could not be read: is it there, and may Oracle's account read it?"},
    {"ORA-19809",
     "the fast recovery area is full: enlarge DB_RECOVERY_FILE_DEST_SIZE or delete "
     "logs"},
    {"ORA-27101", "the instance is down: start its service or STARTUP it"},
    {"ORA-28000", "the account is locked: ALTER USER ... ACCOUNT UNLOCK"},
    {"ORA-28001", "the password has expired"},
    {"ORA-65054", "the pluggable database cannot be opened in the recorded mode: see its alerts"},
    {"Error code: 0x00000005",
     "the account of this program may not do that; run it as SYSTEM or an "
     "administrator"},
    {"Error code: 0x00000020", "another program has the file open"},
    {"Error code: 0x00000070", "the disk is full"},
    {"Error code: 0x0000007e", "there is no Oracle client library (OCI.dll) in the search path"},
    {"Error code: 0x0000007f", "the Oracle client library (OCI.dll) is too old"},
    {"Error code: 0x0000052e", "Windows does not know that user with that password"},
    {"Error code: 0x00000569", "the account may not log on at this machine"},
};

}  // namespace

void print_hints(std::ostream& stream, const std::string& text, const char* margin) {
    for (const auto& [sign, hint] : hints) {
        if (text.find(sign) != std::string::npos) {
            stream << margin << "hint, " << sign << ": " << hint << "\n";
        }
    }
}

}  // namespace host
