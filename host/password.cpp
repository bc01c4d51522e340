#include "host/password.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "host/system.h"
#include "sandbox/native.h"

namespace host {

std::string get_password(const std::string& user, const std::string& file) {
    if (!file.empty()) {
        std::ifstream stream(std::filesystem::u8path(file), std::ios::binary);
        std::string line;
        if (!std::getline(stream, line)) {
            throw std::runtime_error("cannot read a password from " + file);
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        return line;
    }
    const std::string variable = sandbox::environment("ORALIB_PASSWORD");
    if (!variable.empty()) {
        sandbox::set_environment("ORALIB_PASSWORD", "");
        return variable;
    }
    return read_hidden_line("Password of " + user + ": ");
}

}  // namespace host
