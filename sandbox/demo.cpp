#include "sandbox/builder.h"

namespace sandbox {

namespace {

std::vector<archived_log_t> archived_logs(int count) {
    std::vector<archived_log_t> logs(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        logs[static_cast<std::size_t>(i)].completed =
            "2024-05-" + std::to_string(10 + i % 20) + " 21:45:00";
    }
    return logs;
}

home_t home_of(const std::string& folder, const std::string& name) {
    home_t home;
    home.path = "C:\\app\\oracle\\product\\" + folder;
    home.name = name;
    home.base = "C:\\app\\oracle";
    return home;
}

instance_t instance_of(const std::string& sid, const std::string& version) {
    instance_t instance;
    instance.sid = sid;
    instance.version = version;
    return instance;
}

}  // namespace

void make_demo_server(const std::filesystem::path& directory) {
    server_t server(directory);
    server.set_host("computer_name", "ORASRV");
    server.set_account({"LAB\\backup", "backup", "ORA_DBA", "backup@lab.example"});
    server.set_account({"LAB\\guest", "guest", "", ""});

    home_t home19 = home_of("19.0.0\\dbhome_1", "OraDB19Home1");
    home19.with_srvctl = true;
    home_t home21 = home_of("21.0.0\\dbhome_1", "OraDB21Home1");
    home21.read_only = true;
    const home_t home10 = home_of("10.2.0\\db_1", "OraDb10g_home1");
    home_t grid = home_of("19.0.0\\grid", "OraGI19Home1");
    grid.base = "C:\\app\\grid";
    for (const home_t& home : {home19, home21, home10, grid}) {
        server.add_home(home);
    }

    instance_t orcl = instance_of("ORCL", "19.0.0.0.0");
    orcl.db_domain = "lab.example";
    orcl.pdbs.resize(2);
    orcl.pdbs[0].name = "SALES";
    orcl.pdbs[1].name = "HR";
    orcl.pdbs[1].open_mode = "READ ONLY";
    orcl.recovery_area = "C:\\app\\oracle\\recovery_area";
    orcl.restore_points = {{"BEFORE_UPGRADE", true}};
    orcl.local_listener = "LISTENER_ORCL";
    orcl.archived_logs = archived_logs(12);
    orcl.with_files = true;
    orcl.autostart = "TRUE";
    server.add_instance(home19, orcl);

    instance_t fin = instance_of("FIN", "19.0.0.0.0");
    fin.data_files = {{"+DATA/FIN/DATAFILE/system.257.1158053401", 964689920},
                      {"+DATA/FIN/DATAFILE/users.259.1158053403", 5242880}};
    fin.archive_folder = "+FRA/FIN/ARCHIVELOG";
    fin.recovery_area = "+FRA";
    fin.archived_logs = archived_logs(5);
    server.add_instance(home19, fin);

    instance_t dev = instance_of("DEV", "19.0.0.0.0");
    dev.archive_log = false;
    dev.with_spfile = false;
    dev.with_init_file = true;
    server.add_instance(home19, dev);

    instance_t report = instance_of("REPORT", "21.0.0.0.0");
    report.read_only = true;
    report.container = true;
    server.add_instance(home21, report);

    instance_t standby = instance_of("STBY", "21.0.0.0.0");
    standby.state = state_t::mounted;
    server.add_instance(home21, standby);

    instance_t test = instance_of("TEST", "21.0.0.0.0");
    test.state = state_t::down;
    server.add_instance(home21, test);

    server.add_instance(home10, instance_of("LEGACY", "10.2.0.4.0"));

    instance_t storage = instance_of("+ASM", "19.0.0.0.0");
    storage.is_asm = true;
    storage.state = state_t::started;
    storage.asm_groups = {{"DATA", {{"\\\\.\\ORCLDISKDATA0"}, {"\\\\.\\ORCLDISKDATA1"}}},
                          {"FRA", {{"\\\\.\\ORCLDISKFRA0"}}},
                          {"", {{"\\\\.\\ORCLDISKSPARE0"}}}};
    server.add_instance(grid, storage);
    server.write();
}

}  // namespace sandbox
