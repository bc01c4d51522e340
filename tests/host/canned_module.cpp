// Answers to the host that tell what reached the module. CANNED names a failure:
// "init", "explore", or "database" for a database that could not be read.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "oralib/oralib.h"

// A text in the module's characters.
#ifdef _WIN32
#define W(text) L##text
#else
#define W(text) u##text
#endif

namespace {

using text_t = std::basic_string<oralib_char>;

bool is_canned(const char* failure) {
    const char* const canned = std::getenv("CANNED");
    return canned && std::string(canned) == failure;
}

oralib_result store(oralib_char** out, const text_t& text, oralib_result result) {
    *out = static_cast<oralib_char*>(std::malloc((text.size() + 1) * sizeof(oralib_char)));
    text.copy(*out, text.size());
    (*out)[text.size()] = 0;
    return result;
}

}  // namespace

oralib_result OracleVssInitLib(const oralib_char*, oralib_char** errorText) {
    std::printf("LOG: Initializing log file ...\n");
    return is_canned("init") ? store(errorText, W("no log"), ORALIB_FAILED) : ORALIB_OK;
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
                     W("ORA-12560: TNS:protocol adapter error\n--tr:first step\nsecond cause\n")
                         W("--tr:second step"),
                     ORALIB_FAILED);
    }
    const text_t failed =
        W("<home name=\"H\" version=\"\" path=\"C:\\h\" desc=\"\"><database isError=\"true\" ")
            W("sid=\"X\" config=\"\" errorDescription=\"down&#x0A;--tr:step\" /></home>");
    return store(
        resultXml,
        text_t(W("<OracleOverall serverName=\"")) + userName + W("/") + password +
            W("\" osName=\"") + (collectPfile ? W("pfile") : W("")) + W("\" timeZone=\"-14\">") +
            (is_canned("database") ? failed
                                   : W("<home name=\"H\" version=\"\" path=\"\" desc=\"\" />")) +
            W("</OracleOverall>"),
        ORALIB_OK);
}

oralib_result OracleGetLogsFolder(oralib_char** folder, oralib_char**) {
    return store(folder, W("C:\\t\u00E4glich\\\U0001F4BE"), ORALIB_OK);
}

oralib_result OracleCheckIfAsmExist(bool* exists, oralib_char**) {
    *exists = !is_canned("asm");
    return ORALIB_OK;
}

oralib_result OracleTest(void*, void*, const oralib_char* logName, oralib_char**) {
    std::printf("%s\n", logName[0] == 'C' ? "default log" : "other log");
    return ORALIB_OK;
}

void OracleLibStrFree(oralib_char* text) {
    std::free(text);
}
