#include "sandbox/faults.h"

#include <fstream>
#include <system_error>
#include <vector>

#include "sandbox/database.h"
#include "sandbox/paths.h"
#include "sandbox/sandbox.h"

namespace sandbox {

namespace {

std::vector<std::string> chosen(const std::filesystem::path& sandbox, const std::string& sid) {
    return sid == "*" ? list_sids(sandbox) : std::vector<std::string>{sid};
}

std::filesystem::path sign(const std::filesystem::path& sandbox) {
    return sandbox / "oracle/released";
}

}  // namespace

const char* to_text(fault_kind kind) {
    static const char* const names[] = {"ora",    "status", "hang",     "wait",    "crash",
                                        "divide", "delay",  "delay_us", "env_left"};
    return names[static_cast<int>(kind)];
}

void set_fault(const std::filesystem::path& sandbox, const std::string& sid, const fault_t& fault) {
    if (fault.kind == fault_kind::wait) {
        std::filesystem::remove(sign(sandbox));
    }
    for (const std::string& name : chosen(sandbox, sid)) {
        const database_t database(instance_file(sandbox, name), database_t::mode::existing);
        query_t(database,
                "INSERT INTO sandbox_fault(target, nth, kind, value, text) VALUES(?, ?, ?, ?, ?)")
            .bind(1, fault.target)
            .bind(2, fault.nth)
            .bind(3, to_text(fault.kind))
            .bind(4, fault.value)
            .bind(5, fault.text)
            .run();
    }
}

void clear_faults(const std::filesystem::path& sandbox, const std::string& sid) {
    for (const std::string& name : chosen(sandbox, sid)) {
        database_t(instance_file(sandbox, name), database_t::mode::existing)
            .execute("DELETE FROM sandbox_fault");
    }
}

void release(const std::filesystem::path& sandbox) {
    std::ofstream file(sign(sandbox));
}

bool is_released(const std::filesystem::path& sandbox) {
    std::error_code ignored;
    return std::filesystem::exists(sign(sandbox), ignored);
}

}  // namespace sandbox
