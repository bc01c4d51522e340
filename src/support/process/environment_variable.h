// A variable for the environment of a child process.
#pragma once

#include <string>

namespace util {

class CEnvironmentVariable {
  public:
    CEnvironmentVariable(const std::string& name, const std::string& value);
    virtual ~CEnvironmentVariable() = default;

    /// The current process's variable. Throws runtime_exc_t with the system's code.
    static CEnvironmentVariable read(const std::string& name);

    const std::string& name() const { return m_name; }
    const std::string& value() const { return m_value; }
    /// "NAME=value"
    const std::string& assignment() const { return m_assignment; }

  private:
    std::string m_name;
    std::string m_value;
    std::string m_assignment;
};

}  // namespace util
