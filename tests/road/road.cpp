#include "road/road.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace road {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

void Road::TearDown() {
    if (HasFailure()) {
        machine.keep();
    }
    const std::string text = log();
    for (const std::string& line : lines_of(text)) {
        if (line.find("WARN|") == std::string::npos && line.find("ERR |") == std::string::npos) {
            continue;
        }
        const bool known =
            std::any_of(expected.begin(), expected.end(), [&](const std::string& expectation) {
                return line.find(expectation) != std::string::npos;
            });
        EXPECT_TRUE(known) << "unexpected in the log: " << line;
    }
    for (const std::string& expectation : expected) {
        EXPECT_NE(text.find(expectation), std::string::npos) << "not in the log: " << expectation;
    }
    EXPECT_EQ(text.find(distinctive_password), std::string::npos);
    if (!leaks_expected) {
        EXPECT_EQ(sandbox::read_leaks(folder), std::vector<std::string>());
    }
}

std::size_t Road::count_in_log(const std::string& text) const {
    const auto lines = lines_of(log());
    return static_cast<std::size_t>(std::count_if(
        lines.begin(), lines.end(),
        [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

answer_t Road::explore(const std::string& config, bool pfile, const std::string& user,
                       const std::string& user_password) {
    if (made_elsewhere) {
        machine.refresh();
    } else {
        write();
    }
    module_t module;
    EXPECT_EQ(module.init(log_name).code, ORALIB_OK);
    const answer_t answer = module.explore(config, pfile, user, user_password);
    EXPECT_EQ((answer.result + answer.error).find(distinctive_password), std::string::npos);
    if (answer.code == ORALIB_OK) {
        EXPECT_EQ(answer.error, nothing);
        EXPECT_EQ(validate(answer.result, "explore.xsd"), "");
    } else {
        EXPECT_EQ(answer.code, ORALIB_FAILED);
        EXPECT_EQ(answer.result, nothing);
        EXPECT_NE(answer.error, nothing);
    }
    return answer;
}

sandbox::home_t home19() {
    sandbox::home_t home;
    home.path = "C:\\app\\oracle\\product\\19.0.0\\dbhome_1";
    home.name = "OraDB19Home1";
    home.base = "C:\\app\\oracle";
    return home;
}

sandbox::instance_t instance(const std::string& sid, const std::string& version) {
    sandbox::instance_t made;
    made.sid = sid;
    made.version = version;
    return made;
}

std::string readable(const std::string& document) {
    const std::string lines = std::regex_replace(document, std::regex("><"), ">\n<");
    return std::regex_replace(lines, std::regex("timeUtc=\"[^\"]*\""), "timeUtc=\"\"") + "\n";
}

document_t::document_t(const std::string& text) {
    m_document.Parse(text.c_str());
    EXPECT_FALSE(m_document.Error()) << text;
}

const TiXmlElement* document_t::find(const std::string& path) const {
    static const std::regex step("([^/\\[]+)(\\[([^\\]]*)\\])?");
    const TiXmlElement* element = m_document.RootElement();
    for (std::sregex_iterator i(path.begin(), path.end(), step), end; i != end && element; ++i) {
        const std::string tag = (*i)[1];
        const std::string name = (*i)[3];
        const auto is_it = [&](const TiXmlElement* candidate) {
            const char* const by_name = candidate->Attribute("name");
            const char* const by_sid = candidate->Attribute("sid");
            return name.empty() || (by_name && name == by_name) || (by_sid && name == by_sid);
        };
        element = element->FirstChildElement(tag.c_str());
        while (element && !is_it(element)) {
            element = element->NextSiblingElement(tag.c_str());
        }
    }
    return element;
}

std::string document_t::attribute(const std::string& path, const char* name) const {
    const TiXmlElement* const element = find(path);
    const char* const value = element ? element->Attribute(name) : nullptr;
    return value ? value : "";
}

std::vector<std::string> document_t::list(const std::string& path, const char* name) const {
    std::vector<std::string> values;
    const TiXmlElement* const parent = find(path);
    for (const TiXmlElement* child = parent ? parent->FirstChildElement() : nullptr; child;
         child = child->NextSiblingElement()) {
        const char* const value = child->Attribute(name);
        values.push_back(value ? value : "(none)");
    }
    return values;
}

std::string validate(const std::string& document, const std::string& schema) {
#ifdef _WIN32
    // There is no validator here; the same documents are held against the schemas elsewhere.
    return document.empty() && !schema.empty() ? "nothing to validate" : "";
#else
    const fs::path folder = make_temporary_folder();
    const fs::path file = folder / "document.xml";
    const fs::path report = folder / "report";
    write_file(file, "<?xml version=\"1.0\" encoding=\"utf-8\"?>" + document);
    const std::string command = "xmllint --noout --schema '" ORALIB_SOURCE_DIR "/docs/formats/" +
                                schema + "' '" + file.string() + "' 2>'" + report.string() + "'";
    const bool valid = std::system(command.c_str()) == 0;
    const std::string text = valid ? "" : read_file(report);
    remove_folder(folder);
    return text;
#endif
}

}  // namespace road
