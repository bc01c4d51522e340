// A program for tests to start. Its words, or those of the variable ORALIB_CHILD, say what it does,
// one after the other:
//   out TEXT, err TEXT   says TEXT, with line ends as \n
//   args                 says each word of the command line in a line of its own
//   env NAME             says the variable's value
//   dump FILE            adds the command line and the whole environment to FILE
//   sleep MILLISECONDS
//   helper               starts another, which keeps the standard output until its input ends
//   wait                 for the end of the standard input
//   exit CODE
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <process.h>
#define environ _environ
#else
#include <unistd.h>
#endif

namespace {

std::string unescaped(std::string text) {
    for (std::size_t i = text.find("\\n"); i != std::string::npos; i = text.find("\\n", i + 1)) {
        text.replace(i, 2, "\n");
    }
    return text;
}

void say(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

void dump(const std::string& file, int argc, char** argv) {
    if (std::FILE* const stream = std::fopen(file.c_str(), "ab")) {
        for (int i = 0; i < argc; ++i) {
            std::fprintf(stream, "%s%s", i == 0 ? "" : " ", argv[i]);
        }
        std::fprintf(stream, "\n");
        for (char** entry = environ; *entry; ++entry) {
            std::fprintf(stream, "%s\n", *entry);
        }
        std::fclose(stream);
    }
}

void wait_for_end_of_input() {
    while (std::getchar() != EOF) {
    }
}

void start_helper() {
#ifdef _WIN32
    _putenv("ORALIB_CHILD=wait");
    _spawnl(_P_NOWAIT, _pgmptr, "helper", nullptr);
#else
    if (fork() == 0) {
        wait_for_end_of_input();
        _exit(0);
    }
#endif
}

}  // namespace

int main(int argc, char** argv) {
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
#endif
    std::vector<std::string> words(argv + 1, argv + argc);
    if (const char* const variable = std::getenv("ORALIB_CHILD")) {
        std::istringstream stream(variable);
        words.assign(std::istream_iterator<std::string>(stream), {});
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string verb = words[i];
        if (verb == "args") {
            for (int j = 1; j < argc; ++j) {
                say(stdout, argv[j] + std::string("\n"));
            }
            continue;
        }
        if (verb == "helper" || verb == "wait") {
            verb == "wait" ? wait_for_end_of_input() : start_helper();
            continue;
        }
        if (++i == words.size()) {
            return 120;
        }
        const std::string& word = words[i];
        if (verb == "out" || verb == "err") {
            say(verb == "out" ? stdout : stderr, unescaped(word));
        } else if (verb == "env") {
            const char* const value = std::getenv(word.c_str());
            say(stdout, value ? value : "(none)");
        } else if (verb == "dump") {
            dump(word, argc, argv);
        } else if (verb == "sleep") {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stol(word)));
        } else if (verb == "exit") {
            return std::stoi(word);
        } else {
            return 121;
        }
    }
    return 0;
}
