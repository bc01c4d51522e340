// The runtime context: what support code keeps for as long as the module is loaded.
#pragma once

#include "support/logging/cout_multiplexor.h"
#include "support/logging/performance_log.h"
#include "support/logging/thread_trace.h"

namespace crypto {

/// Would hold keys made at run time; nothing in the library has any.
class CRuntimeKeyStore {};

}  // namespace crypto

namespace util {

class CCommonLibCtx {
  public:
    static CCommonLibCtx& instance();

    monitoring::CThreadStatesCollection threadStates;
    io::CCoutMultiplexor coutMultiplexor;
    logging::performance_log_t performanceLog;
    crypto::CRuntimeKeyStore keyStore;

  private:
    CCommonLibCtx() = default;
};

}  // namespace util
