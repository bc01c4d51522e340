// Answers to the host that tell what reached the module. CANNED names a failure:
// "init", "explore", or "database" for a database that could not be read.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "oralib/oralib.h"

namespace {

bool is_canned(const char* failure) {
    const char* const canned = std::getenv("CANNED");
    return canned && std::string(canned) == failure;
}

oralib_result store(oralib_char** out, const std::u16string& text, oralib_result result) {
    *out = static_cast<oralib_char*>(std::malloc((text.size() + 1) * sizeof(oralib_char)));
    text.copy(*out, text.size());
    (*out)[text.size()] = 0;
    return result;
}

}  // namespace

oralib_result OracleVssInitLib(const oralib_char*, oralib_char** errorText) {
    std::printf("LOG: Initializing log file ...\n");
    return is_canned("init") ? store(errorText, u"no log", ORALIB_FAILED) : ORALIB_OK;
}

oralib_result OracleVssStopLib(oralib_char**) {
    return ORALIB_OK;
}

oralib_result OracleExploreInstances(bool collectPfile, const oralib_char* userName,
                                     const oralib_char* password, const oralib_char*,
                                     oralib_char** resultXml, oralib_char** errorText) {
    std::printf("a child of the module talks\n");
    if (is_canned("explore")) {
        return store(errorText,
                     u"ORA-12560: TNS:protocol adapter error\n--tr:first step\nsecond cause\n"
                     u"--tr:second step",
                     ORALIB_FAILED);
    }
    const std::u16string failed =
        u"<home name=\"H\" version=\"\" path=\"C:\\h\" desc=\"\"><database isError=\"true\" "
        u"sid=\"X\" config=\"\" errorDescription=\"down&#x0A;--tr:step\" /></home>";
    return store(
        resultXml,
        std::u16string(u"<OracleOverall serverName=\"") + userName + u"/" + password +
            u"\" osName=\"" + (collectPfile ? u"pfile" : u"") + u"\" timeZone=\"-14\">" +
            (is_canned("database") ? failed
                                   : u"<home name=\"H\" version=\"\" path=\"\" desc=\"\" />") +
            u"</OracleOverall>",
        ORALIB_OK);
}

oralib_result OracleGetLogsFolder(oralib_char** folder, oralib_char**) {
    return store(folder, u"C:\\t\u00E4glich\\\U0001F4BE", ORALIB_OK);
}

oralib_result OracleCheckIfAsmExist(bool* exists, oralib_char**) {
    *exists = !is_canned("asm");
    return ORALIB_OK;
}

oralib_result OracleTest(void*, void*, const oralib_char* logName, oralib_char**) {
    std::printf("%s\n", logName[0] == u'o' ? "default log" : "other log");
    return ORALIB_OK;
}

void OracleLibStrFree(oralib_char* text) {
    std::free(text);
}
