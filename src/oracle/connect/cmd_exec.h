// One prepared statement with bound variables.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/env.h"

namespace specific::oracle {

/// For PL/SQL blocks with output parameters and for statements whose failure must surface from the
/// execute itself. Used by one thread; failures arrive as COracleExc.
class COracleCmdExec {
  public:
    COracleCmdExec(boost::shared_ptr<COracleEnv> oracle_env,
                   boost::shared_ptr<COracleHandle> service, const std::string& text);

    /// `name` has its colon; `data_type` is an SQLT_ code. `value`, of `value_size` bytes, is the
    /// caller's and must live until execute() has returned: output parameters are written there.
    void bind(const std::string& name, void* value, ub2 data_type, sb4 value_size);

    void execute();

  private:
    /// The statement's handle, as the log shows it.
    std::string handle_text() const;

    boost::shared_ptr<COracleEnv> env;
    boost::shared_ptr<COracleHandle> service_context;
    boost::shared_ptr<COracleHandle> statement;
};

}  // namespace specific::oracle
