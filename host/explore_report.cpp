#include "host/explore_report.h"

#include <charconv>
#include <cstdlib>
#include <ostream>

#include "host/table.h"
#include "host/text.h"

namespace host {

namespace {

template <typename Visit>
void for_each_database(const explore_document_t& document, const Visit& visit) {
    for (const home_entry_t& home : document.homes) {
        for (const database_entry_t& database : home.databases) {
            visit(home, database);
        }
    }
}

std::uint64_t to_bytes(const std::string& decimal) {
    std::uint64_t bytes = 0;
    std::from_chars(decimal.data(), decimal.data() + decimal.size(), bytes);
    return bytes;
}

std::string to_offset(int quarters) {
    const int minutes = std::abs(quarters % 4) * 15;
    return std::string("UTC") + (quarters < 0 ? "-" : "+") +
           std::to_string(std::abs(quarters / 4)) +
           (minutes == 0 ? "" : ":" + std::to_string(minutes));
}

std::string notes_on(const database_entry_t& database) {
    std::string notes = database.has_guaranteed_restore_points ? "guaranteed restore point" : "";
    if (database.is_cluster) {
        notes += notes.empty() ? "cluster" : ", cluster";
    }
    return notes;
}

void print_server(std::ostream& stream, const explore_document_t& document) {
    if (document.server_name.empty() && document.homes.empty()) {
        stream << "No Oracle instance was found on this machine.\n";
        return;
    }
    stream << to_one_line(document.server_name) << ", " << to_one_line(document.os_name);
    if (document.time_zone) {
        stream << ", " << to_offset(*document.time_zone);
    }
    stream << "\n";
    if (document.homes.empty()) {
        stream << "All instances were passed over; the log tells why.\n";
    }
}

void print_homes(std::ostream& stream, const explore_document_t& document) {
    table_t table({{"NAME"}, {"VERSION"}, {"PATH"}, {"DESCRIPTION"}});
    for (const home_entry_t& home : document.homes) {
        table.add({home.name, home.version, home.path, home.description});
    }
    table.print(stream, "Oracle homes");
}

void print_databases(std::ostream& stream, const explore_document_t& document) {
    table_t table({{"SID"}, {"NAME"}, {"HOME"}, {"VERSION"}, {"STATE"}, {"LOG MODE"}, {"NOTES"}});
    for_each_database(document, [&](const home_entry_t& home, const database_entry_t& database) {
        if (database.is_error) {
            table.add({database.sid, "", home.name, home.version, "could not be read", "", ""});
            return;
        }
        table.add({database.sid, database.name, home.name, home.version,
                   database.is_readonly ? "open read only" : "open",
                   database.archive_logs_on ? "archive log" : "no archive log",
                   notes_on(database)});
    });
    table.print(stream, "Databases");
}

std::string sum_of(const std::vector<file_entry_t>& files) {
    std::uint64_t bytes = 0;
    for (const file_entry_t& file : files) {
        bytes += to_bytes(file.size);
    }
    return files.empty() ? "" : std::to_string(files.size()) + " (" + to_human_size(bytes) + ")";
}

void print_file_sums(std::ostream& stream, const explore_document_t& document) {
    table_t table({{"SID"}, {"DATA", true}, {"REDO", true}, {"TEMP", true}, {"CONTROL", true}});
    for_each_database(document, [&](const home_entry_t&, const database_entry_t& database) {
        if (!database.is_error) {
            table.add({database.sid, sum_of(database.data_files), sum_of(database.log_files),
                       sum_of(database.temp_files), sum_of(database.control_files)});
        }
    });
    table.print(stream, "Files and their sizes (--files lists each)");
}

void print_files(std::ostream& stream, const explore_document_t& document) {
    table_t table({{"SID"}, {"KIND"}, {"GROUP", true}, {"SIZE", true}, {"PATH"}});
    for_each_database(document, [&](const home_entry_t&, const database_entry_t& database) {
        const auto add = [&](const char* kind, const std::vector<file_entry_t>& files) {
            for (const file_entry_t& file : files) {
                table.add({database.sid, kind, file.group, to_human_size(to_bytes(file.size)),
                           file.path});
            }
        };
        add("data", database.data_files);
        add("redo", database.log_files);
        add("temp", database.temp_files);
        add("control", database.control_files);
    });
    table.print(stream, "Files");
}

void print_pdbs(std::ostream& stream, const explore_document_t& document) {
    table_t table({{"SID"}, {"NAME"}, {"GUID"}});
    for_each_database(document, [&](const home_entry_t&, const database_entry_t& database) {
        for (const pdb_entry_t& pdb : database.pdbs) {
            table.add({database.sid, pdb.name, pdb.guid});
        }
    });
    table.print(stream, "Pluggable databases");
}

void print_asm(std::ostream& stream, const explore_document_t& document) {
    table_t table({{"SID"}, {"GROUP"}, {"DISK"}, {"STATE"}});
    for (const home_entry_t& home : document.homes) {
        for (const asm_entry_t& instance : home.asm_instances) {
            for (const disk_entry_t& disk : instance.disks) {
                table.add({instance.sid, disk.group, disk.path, disk.state});
            }
            if (instance.disks.empty()) {
                table.add({instance.sid, "", "", ""});
            }
        }
    }
    table.print(stream, "ASM disks");
}

void print_pfiles(std::ostream& stream, const explore_document_t& document) {
    for_each_database(document, [&](const home_entry_t&, const database_entry_t& database) {
        if (database.is_error) {
            return;
        }
        stream << "\nParameter file of " << to_one_line(database.sid);
        if (!database.config.empty()) {
            stream << ", " << to_one_line(database.config);
        }
        const std::optional<std::string> text = from_base64(database.pfile);
        if (!text) {
            stream << ": the document's text is not base64\n";
            return;
        }
        const std::vector<std::string> lines = split_lines(*text);
        stream << " (" << lines.size() << " lines, " << to_human_size(text->size()) << ")\n";
        for (const std::string& line : lines) {
            stream << "  " << to_one_line(line) << "\n";
        }
    });
}

void print_failures(std::ostream& stream, const explore_document_t& document, bool trace) {
    for_each_database(document, [&](const home_entry_t& home, const database_entry_t& database) {
        if (!database.is_error) {
            return;
        }
        stream << "\n"
               << to_one_line(database.sid) << " of " << to_one_line(home.name)
               << " could not be read:\n";
        for (const std::string& line : failure_lines(database.error_description, trace)) {
            stream << "  " << line << "\n";
        }
    });
}

}  // namespace

void print_report(std::ostream& stream, const explore_document_t& document,
                  const report_options_t& options) {
    print_server(stream, document);
    print_homes(stream, document);
    print_databases(stream, document);
    if (options.files) {
        print_files(stream, document);
    } else {
        print_file_sums(stream, document);
    }
    print_pdbs(stream, document);
    print_asm(stream, document);
    if (options.pfile) {
        print_pfiles(stream, document);
    }
    print_failures(stream, document, options.trace);
}

std::size_t count_failed(const explore_document_t& document) {
    std::size_t failed = 0;
    for_each_database(document, [&](const home_entry_t&, const database_entry_t& database) {
        failed += database.is_error ? 1 : 0;
    });
    return failed;
}

}  // namespace host
