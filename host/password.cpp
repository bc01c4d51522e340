#include "host/password.h"

#include <fstream>
#include <stdexcept>

#include "host/system.h"

namespace host {

std::string get_password(const std::string& user, const std::string& file) {
    if (!file.empty()) {
        std::ifstream stream(file, std::ios::binary);
        std::string line;
        if (!std::getline(stream, line)) {
            throw std::runtime_error("cannot read a password from " + file);
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        return line;
    }
    const std::string variable = get_environment("ORALIB_PASSWORD");
    if (!variable.empty()) {
        remove_environment("ORALIB_PASSWORD");
        return variable;
    }
    return read_hidden_line("Password of " + user + ": ");
}

}  // namespace host
