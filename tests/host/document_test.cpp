// From the explore document to records and tables.
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "host/backup_document.h"
#include "host/explore_report.h"

namespace {

const std::string sample =
    "<OracleOverall serverName=\"SRV\" osName=\"Windows\" timeZone=\"23\">"
    "<home name=\"H\" version=\"19\" path=\"C:\\h\" desc=\"D\">"
    "<database isError=\"false\" name=\"ORCL\" id=\"1\" sid=\"ORCL\" config=\"C:\\&quot;o&#xE9;.ora\" "
    "archiveLogsOn=\"true\" isReadonly=\"true\" pfile=\"*\" hasGuaranteedRestorePoints=\"true\" "
    "isCluster=\"true\"><control_files /><data_files><dbfile path=\"C:\\a\" size=\"1048576\" />"
    "<dbfile path=\"C:\\b\" size=\"524288\" /></data_files>"
    "<log_files><dbfile path=\"C:\\r\" size=\"18446744073709551615\" groupNumber=\"7\" /></log_files>"
    "<temp_files /><pdbs><db name=\"HR\" guid=\"AB\" /></pdbs></database>"
    "<asm sid=\"+ASM\"><disk name=\"DATA\" path=\"D0\" state=\"ONLINE\" /></asm>"
    "<database isError=\"true\" sid=\"X&#x0A;Y\" config=\"\" errorDescription=\"a&#x0A;--tr:b\" />"
    "</home></OracleOverall>";

TEST(HostDocument, IsReadWhole) {
    const host::explore_document_t document = host::read_explore_document(sample);
    ASSERT_EQ(document.homes.size(), 1u);
    ASSERT_EQ(document.homes[0].databases.size(), 2u);
    const host::database_entry_t& database = document.homes[0].databases[0];
    EXPECT_EQ(database.config, "C:\\\"o\xC3\xA9.ora");
    EXPECT_TRUE(database.is_readonly && database.archive_logs_on && database.is_cluster);
    EXPECT_EQ(database.data_files.size(), 2u);
    EXPECT_EQ(database.log_files.at(0).group, "7");
    EXPECT_EQ(database.pdbs.at(0).guid, "AB");
    EXPECT_EQ(document.homes[0].asm_instances.at(0).disks.at(0).group, "DATA");
    EXPECT_EQ(document.homes[0].databases[1].error_description, "a\n--tr:b");
    EXPECT_EQ(host::count_failed(document), 1u);
    EXPECT_FALSE(host::read_explore_document("<OracleOverall />").time_zone);
}

TEST(HostDocument, SomethingElseIsRefused) {
    for (const char* const text :
         {"", "text", "<OracleOverall", "<Other />", "<OracleOverall><home>"}) {
        EXPECT_THROW(host::read_explore_document(text), std::runtime_error) << text;
    }
}

TEST(HostDocument, IsPrintedForPeople) {
    std::ostringstream stream;
    host::print_report(stream, host::read_explore_document(sample), {false, true, false});
    const std::string text = stream.str();
    for (const char* const line :
         {"SRV, Windows, UTC+5:45\n",
          "\n  ORCL  ORCL  H     19       open read only     archive log  "
          "guaranteed restore point, cluster\n",
          "\n  X Y   -     H     19       could not be read  -            -\n",
          "\n  ORCL  2 (1.5 MiB)  1 (16.0 EiB)     -        -\n", "\n  ORCL  HR    AB\n",
          "\n  +ASM  DATA   D0    ONLINE\n", "the document's text is not base64\n",
          "\nX Y of H could not be read:\n  a\n"}) {
        EXPECT_NE(text.find(line), std::string::npos) << line << "in\n" << text;
    }
    std::ostringstream empty;
    host::print_report(empty, {}, {});
    host::print_report(empty, {"SRV", "Windows", -20, {}}, {});
    EXPECT_EQ(empty.str(),
              "No Oracle instance was found on this machine.\n"
              "SRV, Windows, UTC-5\nAll instances were passed over; the log tells why.\n");
}

TEST(HostLogs, GapsAndOverlapsByScnAndIncarnation) {
    struct row_t {
        const char* sid;
        const char* resetlogs;
        std::uint64_t sequence, first, next;
    };
    const struct {
        std::vector<row_t> logs;
        std::vector<std::string> findings;
    } cases[] = {
        {{}, {}},
        {{{"A", "1", 2, 20, 30}, {"A", "1", 1, 10, 20}, {"A", "1", 2, 20, 30}}, {}},
        {{{"A", "1", 1, 10, 20}, {"A", "2", 1, 15, 25}, {"B", "1", 7, 90, 95}}, {}},
        {{{"A", "1", 1, 10, 20}, {"A", "1", 3, 30, 40}},
         {"a gap behind A log 1: SCN 20 to 30 is in no log"}},
        {{{"A", "1", 1, 10, 20}, {"A", "1", 2, 15, 25}},
         {"A log 1 and A log 2 overlap from SCN 15 on"}},
        {{{"A", "1", 1, 20, 10}}, {"A log 1 ends before it begins"}},
    };
    for (const auto& test : cases) {
        std::vector<host::staged_log_t> logs;
        for (const row_t& row : test.logs) {
            host::staged_log_t log;
            log.sid = row.sid;
            log.resetlogs = row.resetlogs;
            log.sequence = row.sequence;
            log.first_change = row.first;
            log.next_change = row.next;
            logs.push_back(log);
        }
        EXPECT_EQ(host::find_gaps(logs), test.findings);
    }
}

TEST(HostDocument, FromAHostileHandIsRefused) {
    std::string deep = "<databases>", wide = "<databases><database";
    for (int i = 0; i < 100000; ++i) {
        deep += "<a b='/>'>";
        wide += " a" + std::to_string(i) + "=''";
    }
    for (const std::string& text :
         {std::string(), std::string("<databases"), std::string("<other/>"), deep, wide + "/>",
          std::string("<databases><!-- --></databases>"), std::string("<databases a='\xC3'/>"),
          std::string("<databases a='&#x41<'/>"), std::string("<databases a='>'")}) {
        EXPECT_THROW(host::read_prepare_document(text), std::runtime_error) << text.substr(0, 40);
        EXPECT_THROW(host::read_log_list(text), std::runtime_error) << text.substr(0, 40);
        EXPECT_THROW(host::document_of_meta(text), std::runtime_error) << text.substr(0, 40);
    }
    EXPECT_TRUE(
        host::read_prepare_document("<?xml version=\"1.0\"?><databases a='&#x0A;/>'/>").empty());
}

}  // namespace
