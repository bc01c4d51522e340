// The published schemas take a good document and refuse what is none.
#include "tests/host/run.h"

namespace {

const std::string explore =
    "<OracleOverall serverName=\"S\" osName=\"W\" timeZone=\"-20\">"
    "<home name=\"H\" version=\"\" path=\"P\" desc=\"\">"
    "<database isError=\"true\" sid=\"X\" config=\"\" errorDescription=\"down\" />"
    "<asm sid=\"+ASM\"><disk name=\"\" path=\"D\" state=\"ONLINE\" /></asm>"
    "<database isError=\"false\" name=\"O\" id=\"1\" sid=\"O\" config=\"\" archiveLogsOn=\"true\" "
    "isReadonly=\"false\" timeUtc=\"2024-05-01T12:00:00\" pfile=\"YQ==\" pwdFilePath=\"\" "
    "globalName=\"O\" recoveryFileDest=\"\" localListener=\"\" remoteListener=\"\" "
    "hasGuaranteedRestorePoints=\"false\" isCluster=\"false\" resetlogsChange=\"9\">"
    "<control_files /><data_files><dbfile path=\"d\" size=\"1\" /></data_files>"
    "<log_files><dbfile path=\"r\" size=\"2\" groupNumber=\"1\" /></log_files>"
    "<temp_files /><pdbs><db name=\"N\" guid=\"G\" /></pdbs></database></home></OracleOverall>";

const std::string config =
    "<config><dbrecids><db sid=\"O\" recId=\"1\" stamp=\"2\" firstPassRecId=\"\" /></dbrecids>"
    "<excludes><db name=\"T\" home=\"\" /></excludes></config>";

struct mutant_t {
    const char* text;
    const char* instead;
};

template <std::size_t N>
void check(const std::string& schema, const std::string& good, const mutant_t (&mutants)[N]) {
    const folder_t folder;
    const auto validate = [&](const std::string& document) {
        return run(folder, "xmllint --noout --schema " FORMATS "/" + schema + " " +
                               folder.write("document.xml", document));
    };
    const outcome_t outcome = validate(good);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    for (const auto& [text, instead] : mutants) {
        std::string mutant = good;
        ASSERT_NE(mutant.find(text), std::string::npos) << text;
        mutant.replace(mutant.find(text), std::string(text).size(), instead);
        // 3: well-formed, but not by the schema.
        EXPECT_EQ(validate(mutant).code, 3) << mutant;
    }
}

TEST(Schema, Explore) {
    const mutant_t mutants[] = {{"timeZone=\"-20\"", "timeZone=\"-20.5\""},
                                {"isError=\"true\" ", ""},
                                {"isError=\"true\"", "isError=\"1\""},
                                {" sid=\"X\"", ""},
                                {" version=\"\"", ""},
                                {"config=\"\"", "Config=\"\""},
                                {"id=\"1\"", "id=\"0x1\""},
                                {"2024-05-01T", "2024-05-01 "},
                                {"YQ==", "Y*=="},
                                {"isReadonly=\"false\"", "isReadonly=\"no\""},
                                {"size=\"1\"", "size=\"1K\""},
                                {"size=\"1\"", "size=\"1\" groupNumber=\"1\""},
                                {"groupNumber=\"1\"", "groupNumber=\"\""},
                                {"<temp_files />", ""},
                                {"<control_files />", "<control_files><db /></control_files>"},
                                {" guid=\"G\"", ""},
                                {" state=\"ONLINE\"", ""},
                                {"</asm>", "</asm><disk />"}};
    check("explore.xsd", explore, mutants);
    check("explore.xsd", "<OracleOverall />", {mutant_t{"Overall", "overall"}});
}

TEST(Schema, ExploreConfig) {
    const mutant_t mutants[] = {{" home=\"\"", ""},
                                {" firstPassRecId=\"\"", ""},
                                {"recId=\"1\"", "recid=\"1\""},
                                {"name=\"T\"", "sid=\"T\""},
                                {"<excludes>", "<excludes /><excludes>"}};
    check("explore-config.xsd", config, mutants);
    check("explore-config.xsd", "<config />",
          {mutant_t{"<config />", "<config><other /></config>"}});
}

}  // namespace
