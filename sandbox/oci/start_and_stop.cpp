// The two functions that came with version 10.2; a client before it is built without them.
#include "sandbox/oci/call.h"

using namespace sandbox;
using namespace sandbox::oci;

SANDBOX_ENTRY sword OCIDBStartup(OCISvcCtx* service, OCIError* error, OCIAdmin* admin, ub4 mode,
                                 ub4 flags) {
    OCISvcCtx* const context = find(service);
    OCIError* const slot = find(error);
    return serve("OCIDBStartup", cost::round_trip, {context, slot}, slot, "", [&]() -> sword {
        require_default(mode);
        if (admin || flags) {
            fail(24300, "bad value for mode");
        }
        context->env->instance->start_up(require_session(*context).identity);
        return OCI_SUCCESS;
    });
}

SANDBOX_ENTRY sword OCIDBShutdown(OCISvcCtx* service, OCIError* error, OCIAdmin* admin, ub4 mode) {
    OCISvcCtx* const context = find(service);
    OCIError* const slot = find(error);
    return serve("OCIDBShutdown", cost::round_trip, {context, slot}, slot, std::to_string(mode),
                 [&]() -> sword {
                     if (admin) {
                         fail(24300, "bad value for mode");
                     }
                     context->env->instance->shut_down(require_session(*context).identity, mode);
                     return OCI_SUCCESS;
                 });
}
