#include "oracle/connect/errors.h"

#include <boost/make_shared.hpp>

namespace specific::oracle {

boost::shared_ptr<exc::exc_base_t> COracleExc::clone() const {
    return boost::make_shared<COracleExc>(*this);
}

void COracleExc::rethrow() const {
    throw COracleExc(*this);
}

boost::shared_ptr<exc::exc_base_t> COracleInitTimeoutExc::clone() const {
    return boost::make_shared<COracleInitTimeoutExc>(*this);
}

void COracleInitTimeoutExc::rethrow() const {
    throw COracleInitTimeoutExc(*this);
}

boost::shared_ptr<exc::exc_base_t> COracleStatusQueryTimeoutExc::clone() const {
    return boost::make_shared<COracleStatusQueryTimeoutExc>(*this);
}

void COracleStatusQueryTimeoutExc::rethrow() const {
    throw COracleStatusQueryTimeoutExc(*this);
}

}  // namespace specific::oracle
