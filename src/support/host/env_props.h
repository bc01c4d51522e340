// The machine on which the library runs.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

namespace specific::oracle {

struct CEnvProps {
    std::wstring serverName;  ///< fully qualified
    std::wstring osName;
};

}  // namespace specific::oracle

namespace util {

/// Throws win_sys_exc_t.
boost::shared_ptr<specific::oracle::CEnvProps> CollectEnvProps();

}  // namespace util
