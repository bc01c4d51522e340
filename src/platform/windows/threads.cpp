#include <boost/make_shared.hpp>

#include "platform/thread.h"

namespace platform {

boost::shared_ptr<boost::thread> start_thread(const boost::function<void()>& body) {
    return boost::make_shared<boost::thread>(body);
}

HANDLE thread_handle(boost::thread& thread) {
    return thread.native_handle();
}

}  // namespace platform
