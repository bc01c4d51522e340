#include "support/logging/context.h"

namespace util {

CCommonLibCtx& CCommonLibCtx::instance() {
    static CCommonLibCtx context;
    return context;
}

}  // namespace util
