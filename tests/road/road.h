// What the tests that drive the exports share: a sandbox of their own, the module over it, and a
// look at everything it left behind.
#pragma once

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "machine.h"
#include "road/module.h"
#include "sandbox/builder.h"

namespace road {

constexpr const char* settings_key = "SOFTWARE\\Tarny\\Tarny Client Vault";
constexpr const char* log_name = "road.log";
/// Must not get anywhere.
constexpr const char* distinctive_password = "Zq7-Passw0rd-Zq7";

/// A fresh server in a temporary folder for each test. At the end, a warning or error in the log
/// that the test did not expect fails it, and so do a leaked handle of the client and the password.
class Road : public testing::Test {
  protected:
    Road() : folder(machine.folder), server(folder) {}
    void TearDown() override;

    /// The registry and the facts, as the server's builder has them by now.
    void write() {
        server.write();
        machine.refresh();
    }
    void set(const std::string& setting, std::uint32_t value) {
        server.set_registry(settings_key, setting, value);
    }
    /// The text of a warning or an error that the test is about.
    void expect_in_log(const std::string& text) { expected.push_back(text); }

    std::filesystem::path log_file() const {
        return machine.drive() / "ProgramData/Tarny/ClientVault" / log_name;
    }
    std::string log() const { return read_file(log_file()); }
    /// Lines of the log that hold `text`.
    std::size_t count_in_log(const std::string& text) const;
    void clear_log() const { std::filesystem::remove(log_file()); }

    /// Runs one exploration on a freshly loaded module; the document is held against its schema.
    answer_t explore(const std::string& config = "", bool pfile = false,
                     const std::string& user = "", const std::string& password = "");

    machine_t machine;
    const std::filesystem::path& folder;  ///< of the sandbox
    sandbox::server_t server;
    std::vector<std::string> expected;
    bool leaks_expected = false;
    bool made_elsewhere = false;  ///< `server` is not what made the sandbox
};

/// A home of version 19 at C:\app\oracle\product\19.0.0\dbhome_1, named OraDB19Home1.
sandbox::home_t home19();
sandbox::instance_t instance(const std::string& sid, const std::string& version = "19.0.0.0.0");

/// A document with a line for each element, and the time of its making left out.
std::string readable(const std::string& document);
/// A parsed document, and the element at a path like "home[OraDB19Home1]/database[ORCL]", a name
/// in brackets being the value of the attribute `name` or `sid`; null where there is none.
class document_t {
  public:
    explicit document_t(const std::string& text);
    const TiXmlElement* find(const std::string& path) const;
    /// "" for an absent element or attribute.
    std::string attribute(const std::string& path, const char* name) const;
    /// An attribute of all children of the element, in order.
    std::vector<std::string> list(const std::string& path, const char* name) const;

  private:
    TiXmlDocument m_document;
};

/// Empty where the document is valid against docs/formats/<schema>, else what is wrong.
std::string validate(const std::string& document, const std::string& schema);

}  // namespace road
