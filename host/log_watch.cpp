#include "host/log_watch.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "host/system.h"
#include "host/text.h"

namespace host {

namespace fs = std::filesystem;

namespace {

std::map<fs::path, std::uintmax_t> sizes_beside(const fs::path& file) {
    std::map<fs::path, std::uintmax_t> sizes;
    std::error_code error;
    const std::string stem = file.stem().u8string();
    for (const auto& entry : fs::directory_iterator(file.parent_path(), error)) {
        const std::string name = entry.path().filename().u8string();
        if (name.rfind(stem, 0) == 0 && entry.path().extension() == file.extension()) {
            // The directory's own number is late while somebody writes.
            std::ifstream open_file(entry.path(), std::ios::binary | std::ios::ate);
            sizes[entry.path()] = open_file ? static_cast<std::uintmax_t>(open_file.tellg()) : 0;
        }
    }
    return sizes;
}

// A line begins "[time] < thread> ", the category, a tag, and two blanks for each level of depth.
struct line_t {
    std::string thread;
    std::size_t depth = 0;  ///< in blanks
    bool is_trouble = false;
    bool goes_on = false;  ///< a further line of the trouble above
    std::string text;
};

line_t read_line(const std::string& raw) {
    line_t line;
    const auto head = raw.find("> ");
    std::string text = head == std::string::npos ? raw : raw.substr(head + 2);
    const auto thread = raw.find('<');
    if (thread < head && head != std::string::npos) {
        line.thread = raw.substr(thread, head - thread);
    }
    if (text.rfind("oralib", 0) == 0) {
        text.erase(0, 6);
    }
    line.is_trouble = text.rfind("WARN|", 0) == 0 || text.rfind("ERR |", 0) == 0;
    line.goes_on = text.rfind(">>  |", 0) == 0;
    if (line.is_trouble || line.goes_on) {
        text.erase(0, 5);
    }
    line.depth = std::min(text.find_first_not_of(' '), text.size());
    line.text = text.substr(line.depth);
    return line;
}

// Said of each instance that is down, whose session never was one.
bool is_harmless(const std::string& text) {
    return text.rfind("Failed to end OCI session", 0) == 0 ||
           text.rfind("Failed to archive logs all", 0) == 0;
}

class trouble_t {
  public:
    void take(const line_t& line) {
        if (line.is_trouble) {
            m_taking = !is_harmless(line.text);
        }
        if ((line.is_trouble || line.goes_on) && m_taking) {
            lines.push_back(line.text);
        }
    }
    std::vector<std::string> lines;

  private:
    bool m_taking = false;
};

// A name or a message of Oracle's may hold line feeds, and what stands behind one begins a line of
// the log that looks like any other, but never at a smaller depth than its message's. So each sign
// is taken only from the thread and at the very depth at which the module itself gives it, where no
// text from outside is written.
class finish_reader_t {
  public:
    explicit finish_reader_t(const std::string& sid)
        : begin("Finish db backup. Sid: " + sid + ", "),
          failure("Failed to finish db backup. Sid: " + sid) {
        whole.depth = std::string::npos;
    }

    void take(const line_t& line) {
        const bool is_plain = !line.is_trouble && !line.goes_on;
        if (is_plain && line.text == "Finish dbs backup" && line.depth <= whole.depth) {
            whole = line;
        }
        if (is_plain && is_own(line, 1) && line.text.rfind("Finish db", 0) == 0) {
            const bool is_ended =
                line.text.size() > 4 && line.text.compare(line.text.size() - 4, 4, " ok.") == 0;
            inside = line.text.rfind(begin, 0) == 0 && !is_ended;
            finished.came_to_its_end |= line.text.rfind(begin, 0) == 0 && is_ended;
        }
        finished.backup_was_ended |= inside && is_plain && is_own(line, 2) &&
                                     line.text == "Exec oracle query: ALTER DATABASE END BACKUP";
        finished.was_in_no_backup_mode |=
            failed_just_now && line.goes_on &&
            line.text.rfind("Oracle error has occurred. ORA-01142", 0) == 0;
        failed_just_now = line.is_trouble && is_own(line, 1) && line.text == failure;
        if (inside) {
            trouble.take(line);
        }
    }

    finish_log_t result() const {
        finish_log_t result = finished;
        result.trouble = trouble.lines;
        return result;
    }

  private:
    bool is_own(const line_t& line, std::size_t levels) const {
        return line.thread == whole.thread && line.depth == whole.depth + 2 * levels;
    }

    const std::string begin;
    const std::string failure;
    line_t whole;  // the step over all databases
    bool inside = false;
    bool failed_just_now = false;  // the failure's own text begins in the next line
    finish_log_t finished;
    trouble_t trouble;
};

}  // namespace

std::string log_name(const arguments_t& arguments) {
    const std::string name = arguments.get("--log");
    return name.empty() ? default_log_path() : name;
}

log_watch_t::log_watch_t(const arguments_t& arguments)
    : m_file(native_path(log_name(arguments))), m_sizes(sizes_beside(m_file)) {}

std::string log_watch_t::written_since() const {
    std::string text;
    for (const auto& [path, size] : sizes_beside(m_file)) {
        const auto before = m_sizes.find(path);
        // A log that was archived meanwhile began anew.
        const std::uintmax_t begin =
            before == m_sizes.end() || before->second > size ? 0 : before->second;
        std::ifstream stream(path, std::ios::binary);
        stream.seekg(static_cast<std::streamoff>(begin));
        text.append(std::istreambuf_iterator<char>(stream), {});
    }
    return text;
}

finish_log_t read_finish_log(const std::string& log, const std::string& sid) {
    finish_reader_t reader(sid);
    for (const std::string& raw : split_lines(log)) {
        reader.take(read_line(raw));
    }
    return reader.result();
}

}  // namespace host
