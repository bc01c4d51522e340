#include "oracle/connect/env.h"

#include <boost/make_shared.hpp>

#include "oracle/connect/errors.h"
#include "oracle/connect/interface.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

namespace {

std::string status_text(sword status) {
    return util::to_string(static_cast<std::uint32_t>(status));
}

}  // namespace

COracleError::~COracleError() {
    if (handle) {
        (*get_interface())->HandleFree(handle, OCI_HTYPE_ERROR);
    }
}

COracleHandle::~COracleHandle() {
    if (handle && !abandoned) {
        (*get_interface())->HandleFree(handle, type);
    }
}

boost::shared_ptr<COracleEnv> COracleEnv::create() {
    const auto oci = get_interface();
    OCIEnv* environment = nullptr;
    sword status = (*oci)->EnvCreate(&environment, OCI_THREADED, nullptr, nullptr, nullptr, nullptr,
                                     0, nullptr);
    if (status != OCI_SUCCESS) {
        throw exc::runtime_exc_t("Failed to create OCI env. Code: %1", status_text(status));
    }
    const boost::shared_ptr<COracleEnv> result(new COracleEnv(environment));

    void* error = nullptr;
    status = (*oci)->HandleAlloc(environment, &error, OCI_HTYPE_ERROR, 0, nullptr);
    if (status != OCI_SUCCESS) {
        throw exc::runtime_exc_t("Failed to create OCI error. Code: %1", status_text(status));
    }
    result->error = boost::make_shared<COracleError>(static_cast<OCIError*>(error));
    return result;
}

COracleEnv::~COracleEnv() {
    if (abandoned) {
        if (error) {
            error->abandon();
        }
        return;
    }
    error.reset();
    (*get_interface())->HandleFree(env, OCI_HTYPE_ENV);
}

boost::shared_ptr<COracleHandle> COracleEnv::alloc_handle(ub4 type) {
    void* handle = nullptr;
    check((*get_interface())->HandleAlloc(env, &handle, type, 0, nullptr));
    return boost::make_shared<COracleHandle>(handle, type);
}

std::uint32_t COracleEnv::check(sword status, std::uint32_t ignored_code) {
    if (status == OCI_ERROR) {
        constexpr ub4 buffer_size = 2048;
        OraText buffer[buffer_size] = {};
        sb4 code = 0;
        (*get_interface())
            ->ErrorGet(error_handle(), 1, nullptr, &code, buffer, buffer_size, OCI_HTYPE_ERROR);
        if (static_cast<std::uint32_t>(code) == ignored_code) {
            return ignored_code;
        }
        buffer[buffer_size - 1] = 0;
        const std::string text = reinterpret_cast<const char*>(buffer);
        last_error = text.empty() ? L"Undefined Oracle error has occurred" : util::from_ansi(text);
        throw COracleExc(
            util::format_message("Oracle error has occurred. %1", util::to_ansi(last_error)),
            static_cast<std::uint32_t>(code));
    }
    if (status == OCI_SUCCESS || status == OCI_SUCCESS_WITH_INFO || status == OCI_NO_DATA) {
        return 0;
    }
    const std::string text =
        util::format_message("Unexpected Oracle error has occurred. Code: %1", status_text(status));
    last_error = util::from_ansi(text);
    throw exc::runtime_exc_t(text);
}

}  // namespace specific::oracle
