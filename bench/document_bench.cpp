// Reading a large prepare document, as finishing a backup does, against the bare parser.
#include <tinyxml.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <boost/make_shared.hpp>

#include "bench/measure.h"
#include "oracle/backup/dbs_backup_xml.h"
#include "support/logging/logger.h"
#include "support/logging/win_log_file.h"
#include "support/text/convert.h"
#include "support/xml/xml.h"

namespace {

using specific::oracle::CDbsBackupXml;

constexpr int databases = 8;
constexpr int logs_of_each = 7600;
constexpr int rounds = 11;

boost::shared_ptr<CDbsBackupXml::SDbPrepareInfo> make_database(int number) {
    const auto info = boost::make_shared<CDbsBackupXml::SDbPrepareInfo>();
    info->sid = L"DB" + std::to_wstring(number);
    info->home = L"C:\\app\\oracle\\product\\19.0.0\\dbhome_1";
    info->action = specific::oracle::action_backup;
    info->timeUtc = L"2026/11/23 03:08:46";
    info->scn = L"2012507";
    info->lastLogNum = std::to_wstring(logs_of_each);
    info->pdbs = {{L"SALES", L"READ WRITE"}};
    for (int n = 0; n < logs_of_each; ++n) {
        const auto log = boost::make_shared<specific::oracle::SArchLogInfo>();
        log->name = L"C:\\oradata\\" + info->sid + L"\\archive\\ARC000" + std::to_wstring(n);
        log->size = L"134217728";
        log->firstChange = std::to_wstring(2000000L + n * 1000L);
        log->nextChange = std::to_wstring(2001000L + n * 1000L);
        log->firstTimeUtc = L"2026/11/22 20:45:00";
        log->nextTimeUtc = L"2026/11/22 20:46:00";
        log->seqNum = std::to_wstring(n);
        log->resetlogsChange = L"1920977";
        info->logs.push_back(log);
    }
    return info;
}

// Nothing may be left out unseen.
void require(bool holds) {
    if (!holds) {
        std::fprintf(stderr, "the document was not read\n");
        std::exit(1);
    }
}

}  // namespace

int main() {
    const bench::machine_t machine;
    logging::g_oralib_log.log()->install(win::open_log_file(L"C:\\bench.log"));
    CDbsBackupXml::infos_t infos;
    for (int number = 0; number < databases; ++number) {
        infos.push_back(make_database(number));
    }
    const std::wstring document = CDbsBackupXml::serialize(infos);
    const std::string text = util::to_ansi(document);
    std::printf("a prepare document of %zu bytes\n", text.size());

    const auto bare = [&] {
        return bench::seconds_of([&] {
            TiXmlDocument parsed;
            parsed.Parse(text.c_str());
            require(!parsed.Error());
        });
    };
    bench::compare(
        "parsing it against TinyXML", 1.03, rounds,
        [&] { return bench::seconds_of([&] { require(util::xml_parse(text).node); }); }, bare);
    bench::compare(
        "parsing it, and taking and logging all it says, against TinyXML", 1.03, rounds,
        [&] {
            return bench::seconds_of(
                [&] { require(CDbsBackupXml::parse(document).size() == databases); });
        },
        bare);
}
