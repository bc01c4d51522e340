// What Oracle refused, and what a session failed to become.
#pragma once

#include <cstdint>
#include <string>

#include "support/exc/exc.h"

namespace specific::oracle {

/// A failure that Oracle reported; code() is the ORA number.
class COracleExc : public exc::runtime_exc_t {
  public:
    COracleExc(const std::string& text, std::uint32_t code) : runtime_exc_t(text, code) {}

    boost::shared_ptr<exc_base_t> clone() const override;
    [[noreturn]] void rethrow() const override;
};

/// No session within the time allowed; code() is 0.
class COracleInitTimeoutExc : public COracleExc {
  public:
    explicit COracleInitTimeoutExc(const std::string& text) : COracleExc(text, 0) {}

    boost::shared_ptr<exc_base_t> clone() const override;
    [[noreturn]] void rethrow() const override;
};

/// No answer to a status probe within the time allowed; code() is 0.
class COracleStatusQueryTimeoutExc : public COracleExc {
  public:
    explicit COracleStatusQueryTimeoutExc(const std::string& text) : COracleExc(text, 0) {}

    boost::shared_ptr<exc_base_t> clone() const override;
    [[noreturn]] void rethrow() const override;
};

/// A session that never came into being without Oracle having refused it. Not a COracleExc, so
/// that who goes on after Oracle's own errors does not go on after this one; once captured for
/// another thread it arrives there as a plain runtime_exc_t.
class COracleSessionCreateExc : public exc::runtime_exc_t {
  public:
    explicit COracleSessionCreateExc(const std::string& text) : runtime_exc_t(text) {}
};

}  // namespace specific::oracle
