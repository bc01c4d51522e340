// The name of the system.
#include <functional>

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/fixture.h"
#include "support/host/env_props.h"
#include "support/host/os_name.h"
#include "support/host/os_release.h"
#include "support/host/os_version.h"

namespace support_test {
namespace {

using util::os_facts_t;

os_facts_t facts(std::uint32_t major, std::uint32_t minor, std::uint32_t build, bool workstation,
                 std::uint32_t product_type = 7) {
    os_facts_t made;
    made.major = major;
    made.minor = minor;
    made.build = build;
    made.is_workstation = workstation;
    made.product_type = product_type;
    made.is_64_bit = true;
    made.architecture = 9;
    return made;
}

TEST(OsName, TheLadder) {
    const struct {
        os_facts_t of;
        const char* name;
    } rows[] = {
        {facts(10, 0, 20348, false), "Microsoft Windows Server 2022 (21H2, 64-bit)"},
        {facts(10, 0, 19044, true), "Microsoft Windows 10 (21H2, 64-bit)"},
        {facts(10, 0, 19044, false), "Microsoft Windows 10 (21H2, 64-bit)"},
        {facts(10, 0, 22000, true), "Microsoft Windows 11 (21H2, 64-bit)"},
        {facts(10, 0, 17763, false, 12), "Microsoft Windows Server 2019 (1809, 64-bit, Core)"},
        {facts(10, 0, 17784, true), "Microsoft Windows Server 2019 (20H2, 64-bit)"},
        {facts(10, 0, 17784, false, 406), "Microsoft Azure Stack HCI (20H2, 64-bit, Core)"},
        {facts(10, 0, 14393, false, 143), "Microsoft Windows Server 2016 (1607, 64-bit, Nano)"},
        {facts(10, 0, 19050, true), "Microsoft Windows 11 (Next, 64-bit, Technical Preview)"},
        {facts(10, 0, 10166, true), "Microsoft Windows 10 (1507, 64-bit, Technical Preview)"},
        {facts(10, 0, 10167, true), "Microsoft Windows 11 (Next, 64-bit, Technical Preview)"},
        {facts(6, 4, 9841, true), "Microsoft Windows 10 (1507, 64-bit, Technical Preview)"},
        {facts(6, 4, 9840, true), "Microsoft Windows 11 (Next, 64-bit, Technical Preview)"},
        {facts(11, 5, 1, false), "Microsoft Windows Server 2022 (Next, 64-bit, Technical Preview)"},
        {facts(12, 3, 1, false), "Unknown Windows 12.3"},
        {facts(10, 1, 1, false), "Unknown Windows 10.1"},
        {facts(6, 3, 9600, false, 13), "Microsoft Windows Server 2012 R2 (64-bit, Core)"},
        {facts(6, 1, 7601, true), "Microsoft Windows 7 (64-bit)"},
        {facts(6, 5, 1, true), "Unknown Windows 6.5"},
        {facts(5, 0, 2195, false), "Microsoft Windows 2000"},
        {facts(5, 2, 3790, true), "Microsoft Windows XP Professional x64 Edition"},
        {facts(5, 2, 3790, false), "Microsoft Windows Server 2003 (64-bit)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(util::os_name(row.of), row.name);
    }
    os_facts_t home_server = facts(5, 2, 3790, false);
    home_server.suite_mask = 0x8000;
    EXPECT_EQ(util::os_name(home_server), "Microsoft Windows Home Server");
}

}  // namespace
}  // namespace support_test
