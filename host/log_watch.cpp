#include "host/log_watch.h"

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
            sizes[entry.path()] = entry.file_size(error);
        }
    }
    return sizes;
}

// Behind "[time] < thread> ": the category, then the tag, then the text.
struct line_t {
    bool is_trouble = false;
    bool goes_on = false;  ///< a further line of the one above
    std::string text;
};

line_t read_line(const std::string& raw) {
    line_t line;
    const auto head = raw.find("> ");
    std::string text = head == std::string::npos ? raw : raw.substr(head + 2);
    if (text.rfind("oralib", 0) == 0) {
        text.erase(0, 6);
    }
    line.is_trouble = text.rfind("WARN|", 0) == 0 || text.rfind("ERR |", 0) == 0;
    line.goes_on = text.rfind(">>  |", 0) == 0;
    if (line.is_trouble || line.goes_on) {
        text.erase(0, 5);
    }
    text.erase(0, text.find_first_not_of(' ') == std::string::npos ? text.size()
                                                                   : text.find_first_not_of(' '));
    line.text = text;
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
    const std::string begin = "Finish db backup. Sid: " + sid + ", ";
    const std::string end = "Failed to finish db backup. Sid: " + sid;
    finish_log_t result;
    trouble_t trouble;
    bool inside = false;
    for (const std::string& raw : split_lines(log)) {
        const line_t line = read_line(raw);
        if (line.text.rfind(begin, 0) == 0) {
            inside =
                line.text.size() < 4 || line.text.compare(line.text.size() - 4, 4, " ok.") != 0;
            result.came_to_its_end = !inside;
        } else if (line.text.rfind("Finish db", 0) == 0) {
            inside = false;
        }
        if (inside || line.text.rfind(end, 0) == 0) {
            trouble.take(line);
            result.backup_was_ended = result.backup_was_ended ||
                                      line.text.find("ALTER DATABASE END BACKUP") != line.text.npos;
        }
    }
    result.trouble = trouble.lines;
    return result;
}

}  // namespace host
