// Listing the staging folder against bare loops of the XML library over the same files.
#include <tinyxml.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <boost/make_shared.hpp>

#include "bench/measure.h"
#include "oracle/logs/log_descriptions.h"
#include "support/logging/logger.h"
#include "support/logging/win_log_file.h"
#include "support/text/convert.h"
#include "support/win/path.h"

namespace {

namespace fs = std::filesystem;

constexpr int descriptions = 10000;
constexpr int rounds = 9;

// One that the library wrote, and its like under other names.
void make_descriptions(const fs::path& folder) {
    const auto log = boost::make_shared<specific::oracle::SArchLogInfo>();
    log->logPath = L"C:\\staging\\" + win::make_guid_text();
    log->xmlLogPath = log->logPath + L".xml";
    log->size = L"134217728";
    log->firstChange = L"2012507";
    log->nextChange = L"2013507";
    log->firstTimeUtc = L"2026/11/22 20:45:00";
    log->nextTimeUtc = L"2026/11/22 20:46:00";
    log->sid = L"ORCL";
    log->homePath = L"C:\\app\\oracle\\product\\19.0.0\\dbhome_1";
    log->seqNum = L"12";
    log->recId = L"13";
    log->stamp = L"1250050126";
    log->resetlogsChange = L"1920977";
    log->dbId = L"1234567890";
    log->creationUsn = L"usn";
    log->isLogCopied = true;
    specific::oracle::SaveLogDescriptions({log}, L"2026-11-22T20:50:00");
    const fs::path first = fs::directory_iterator(folder)->path();
    for (int n = 1; n < descriptions; ++n) {
        fs::copy_file(first, folder / (util::to_ansi(win::make_guid_text()) + ".xml"));
    }
}

template <typename Use>
void load_all(const fs::path& folder, const Use& use) {
    for (const auto& entry : fs::directory_iterator(folder)) {
        TiXmlDocument description;
        if (!description.LoadFile(entry.path().string())) {
            std::fprintf(stderr, "%s cannot be loaded\n", entry.path().c_str());
            std::exit(1);
        }
        use(description);
    }
}

}  // namespace

int main() {
    const bench::machine_t machine;
    const fs::path folder = machine.drive() / "staging";
    fs::create_directories(folder);
    make_descriptions(folder);
    logging::g_oralib_log.log()->install(win::open_log_file(L"C:\\bench.log"));

    std::size_t listed = 0;
    const auto ours = [&] {
        return bench::seconds_of(
            [&] { listed = specific::oracle::EnumLogDescriptions(L"C:\\staging").size(); });
    };
    bench::compare(
        "listing 10,000 descriptions against loading them with TinyXML", 1.15, rounds, ours,
        [&] { return bench::seconds_of([&] { load_all(folder, [](const TiXmlDocument&) {}); }); });

    std::size_t listed_by_peer = 0;
    bench::compare("the same against loading, joining and printing them", 1.15, rounds, ours, [&] {
        return bench::seconds_of([&] {
            TiXmlDocument list;
            TiXmlNode* const root = list.InsertEndChild(TiXmlElement("archived_logs"));
            load_all(folder, [&](const TiXmlDocument& description) {
                root->InsertEndChild(*description.RootElement());
            });
            TiXmlPrinter printer;
            printer.SetStreamPrinting();
            list.Accept(&printer);
            listed_by_peer = printer.Size();
        });
    });
    std::printf("lists of %zu characters, and %zu by the bare loop\n", listed, listed_by_peer);
}
