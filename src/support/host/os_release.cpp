#include "support/host/os_release.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "support/text/format.h"

namespace util {

namespace {

enum class forces_t { nothing, server, client };

struct version_t {
    std::uint32_t major;
    std::uint32_t minor;
    std::uint32_t build;

    bool operator<(const version_t& other) const {
        return std::tie(major, minor, build) < std::tie(other.major, other.minor, other.build);
    }
};

struct release_t {
    version_t from;
    version_t to;
    std::uint32_t id;
    const char* text;
    bool preview;
    forces_t forces;
};

constexpr release_t builds(std::uint32_t from, std::uint32_t to, std::uint32_t id,
                           const char* text) {
    return {{10, 0, from}, {10, 0, to}, id, text, true, forces_t::nothing};
}

constexpr release_t released(std::uint32_t build, std::uint32_t id, const char* text,
                             forces_t forces = forces_t::nothing) {
    return {{10, 0, build}, {10, 0, build}, id, text, false, forces};
}

// What was released, in the order of the builds; the ranges are previews of what follows them.
constexpr release_t ladder[] = {
    {{6, 4, 9841}, {10, 0, 10166}, 1507, "1507", true, forces_t::nothing},
    released(10240, 1507, "1507"),
    builds(10525, 10576, 1511, "1511"),
    released(10586, 1511, "1511"),
    builds(11082, 14390, 1607, "1607"),
    released(14393, 1607, "1607"),
    builds(14901, 15061, 1703, "1703"),
    released(15063, 1703, "1703"),
    builds(16170, 16296, 1709, "1709"),
    released(16299, 1709, "1709"),
    builds(16353, 17133, 1803, "1803"),
    released(17134, 1803, "1803"),
    builds(17604, 17760, 1809, "1809"),
    released(17763, 1809, "1809"),
    released(17784, 2009, "20H2", forces_t::server),
    builds(18204, 18361, 1903, "1903"),
    released(18362, 1903, "1903"),
    released(18363, 1909, "1909"),
    builds(18836, 19040, 2004, "2004"),
    released(19041, 2004, "2004"),
    released(19042, 2009, "20H2"),
    released(19043, 2103, "21H1"),
    released(19044, 2108, "21H2", forces_t::client),
    builds(19536, 19645, 2004, "2004"),
    builds(20150, 20236, 2009, "20H2"),
    builds(20241, 20279, 2103, "21H1"),
    released(20348, 2109, "21H2", forces_t::server),
    builds(21286, 21382, 2103, "21H1"),
    released(22000, 2109, "21H2", forces_t::client),
};

constexpr release_t next_release = {{}, {}, 9999, "Next", true, forces_t::nothing};

constexpr std::uint32_t core_types[] = {12, 13, 14, 29,  39,  40,  41,  43, 44,
                                        45, 46, 63, 145, 146, 147, 148, 406};
constexpr std::uint32_t nano_types[] = {143, 144};
constexpr std::uint32_t azure_stack_hci = 406;
constexpr std::uint16_t suite_home_server = 0x8000;
constexpr std::uint16_t architecture_amd64 = 9;

template <std::size_t N>
bool is_one_of(const std::uint32_t (&types)[N], std::uint32_t type) {
    return std::find(types, types + N, type) != types + N;
}

const release_t& find_release(const version_t& version) {
    for (const release_t& row : ladder) {
        if (!(version < row.from) && !(row.to < version)) {
            return row;
        }
    }
    return next_release;
}

std::string join(const std::string& name, const std::vector<std::string>& suffixes) {
    std::string text = name;
    for (const std::string& suffix : suffixes) {
        text += (&suffix == &suffixes.front() ? " (" : ", ") + suffix;
    }
    return suffixes.empty() ? text : text + ")";
}

void add_bits(std::vector<std::string>& suffixes, const os_facts_t& facts) {
    if (facts.is_32_bit) {
        suffixes.emplace_back("32-bit");
    }
    if (facts.is_64_bit) {
        suffixes.emplace_back("64-bit");
    }
}

std::string with_suffixes(const char* name, const os_facts_t& facts) {
    std::vector<std::string> suffixes;
    add_bits(suffixes, facts);
    if (is_one_of(core_types, facts.product_type)) {
        suffixes.emplace_back("Core");
    }
    return join(name, suffixes);
}

const char* base_name(const release_t& release, const os_facts_t& facts) {
    const bool is_server = release.forces == forces_t::nothing ? !facts.is_workstation
                                                               : release.forces == forces_t::server;
    if (!is_server) {
        return release.id >= 2109 ? "Microsoft Windows 11" : "Microsoft Windows 10";
    }
    if (facts.product_type == azure_stack_hci) {
        return "Microsoft Azure Stack HCI";
    }
    if (release.id >= 2109) {
        return "Microsoft Windows Server 2022";
    }
    return release.id >= 1809 ? "Microsoft Windows Server 2019" : "Microsoft Windows Server 2016";
}

std::string name_by_release(const os_facts_t& facts) {
    const release_t& release = find_release({facts.major, facts.minor, facts.build});
    std::vector<std::string> suffixes = {release.text};
    add_bits(suffixes, facts);
    if (release.preview) {
        suffixes.emplace_back("Technical Preview");
    }
    if (is_one_of(nano_types, facts.product_type)) {
        suffixes.emplace_back("Nano");
    }
    if (is_one_of(core_types, facts.product_type)) {
        suffixes.emplace_back("Core");
    }
    return join(base_name(release, facts), suffixes);
}

std::string name_of_5(const os_facts_t& facts) {
    if (facts.minor == 0) {
        return "Microsoft Windows 2000";
    }
    if (facts.minor == 1) {
        return "Microsoft Windows XP";
    }
    if (facts.is_workstation && facts.architecture == architecture_amd64) {
        return "Microsoft Windows XP Professional x64 Edition";
    }
    if (facts.suite_mask & suite_home_server) {
        return "Microsoft Windows Home Server";
    }
    return with_suffixes(
        facts.is_r2 ? "Microsoft Windows Server 2003 R2" : "Microsoft Windows Server 2003", facts);
}

std::string name_of_6(const os_facts_t& facts) {
    static constexpr struct {
        const char* workstation;
        const char* server;
    } names[] = {
        {"Microsoft Windows Vista", "Microsoft Windows Server 2008"},
        {"Microsoft Windows 7", "Microsoft Windows Server 2008 R2"},
        {"Microsoft Windows 8", "Microsoft Windows Server 2012"},
        {"Microsoft Windows 8.1", "Microsoft Windows Server 2012 R2"},
    };
    const auto& row = names[facts.minor];
    return with_suffixes(facts.is_workstation ? row.workstation : row.server, facts);
}

}  // namespace

std::string os_name(const os_facts_t& facts) {
    if (facts.major == 5) {
        return name_of_5(facts);
    }
    if (facts.major == 6 && facts.minor <= 3) {
        return name_of_6(facts);
    }
    if ((facts.major == 6 && facts.minor == 4) || (facts.major == 10 && facts.minor == 0) ||
        facts.major == 11) {
        return name_by_release(facts);
    }
    return "Unknown Windows " + to_string(facts.major) + "." + to_string(facts.minor);
}

}  // namespace util
