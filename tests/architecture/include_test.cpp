// Holds the sources against docs/architecture.md: includes run downward and in no circle, OCI's
// names stay in one folder, and only the platform layer knows which system it runs on.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const std::vector<std::string> layers = {"platform",    "support",        "config",
                                         "oracle",      "oracle/connect", "oracle/discovery",
                                         "oracle/logs", "oracle/backup",  "frame"};

int rank_of(const std::string& path) {
    int rank = -1;
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (path.rfind(layers[i] + "/", 0) == 0) {
            rank = static_cast<int>(i);
        }
    }
    return rank;
}

struct source_t {
    std::string text;
    std::vector<std::string> includes;
};

std::string without_comments_and_texts(const std::string& text) {
    static const std::regex noise(R"(//[^\n]*|/\*[^]*?\*/|"(?:\\.|[^"\\\n])*")");
    return std::regex_replace(text, noise, " ");
}

std::map<std::string, source_t> read_sources() {
    const fs::path root = ORALIB_SOURCE_DIR "/src";
    static const std::regex include(R"(^\s*#\s*include\s+"([^"]+)\")", std::regex::multiline);
    std::map<std::string, source_t> sources;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".h" && extension != ".cpp") {
            continue;
        }
        std::ifstream stream(entry.path(), std::ios::binary);
        source_t source;
        source.text.assign(std::istreambuf_iterator<char>(stream), {});
        for (std::sregex_iterator i(source.text.begin(), source.text.end(), include), end; i != end;
             ++i) {
            source.includes.push_back((*i)[1]);
        }
        sources[fs::relative(entry.path(), root).generic_string()] = source;
    }
    return sources;
}

const std::map<std::string, source_t>& sources() {
    static const auto all = read_sources();
    return all;
}

TEST(Architecture, IncludesRunDownward) {
    ASSERT_GT(sources().size(), 50u);
    for (const auto& [path, source] : sources()) {
        for (const std::string& include : source.includes) {
            if (rank_of(include) >= 0) {
                EXPECT_LE(rank_of(include), rank_of(path)) << path << " includes " << include;
            }
        }
    }
}

TEST(Architecture, NoCircleOfHeaders) {
    std::set<std::string> done;
    std::vector<std::string> road;
    const std::function<void(const std::string&)> visit = [&](const std::string& path) {
        const auto again = std::find(road.begin(), road.end(), path);
        ASSERT_TRUE(again == road.end()) << "circle through " << path;
        const auto found = sources().find(path);
        if (found == sources().end() || !done.insert(path).second) {
            return;
        }
        road.push_back(path);
        for (const std::string& include : found->second.includes) {
            visit(include);
        }
        road.pop_back();
    };
    for (const auto& [path, source] : sources()) {
        visit(path);
    }
}

TEST(Architecture, OciStaysInConnect) {
    static const std::regex name(R"(\bOCI[A-Z_]\w*)");
    for (const auto& [path, source] : sources()) {
        if (path.rfind("oracle/connect/", 0) == 0) {
            continue;
        }
        std::smatch match;
        const std::string code = without_comments_and_texts(source.text);
        EXPECT_FALSE(std::regex_search(code, match, name)) << path << " names " << match.str();
        for (const std::string& include : source.includes) {
            EXPECT_NE(include, "oracle/connect/oci.h") << path;
        }
    }
}

TEST(Architecture, OnlyThePlatformKnowsTheSystem) {
    static const std::regex system(R"(\b(_WIN32|_MSC_VER|__linux__|__unix__|__MINGW32__)\b)");
    for (const auto& [path, source] : sources()) {
        if (path.rfind("platform/", 0) != 0) {
            EXPECT_FALSE(std::regex_search(source.text, system)) << path;
        }
    }
}

}  // namespace
