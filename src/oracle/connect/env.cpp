#include "oracle/connect/env.h"

#include <algorithm>
#include <exception>

#include <boost/make_shared.hpp>

#include "oracle/connect/errors.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

namespace {

// Appends the character that begins there; the number of its bytes, 0 where none does.
std::size_t decode_character(const std::string& text, std::size_t at, std::wstring& result) {
    constexpr std::size_t longest = 4;
    for (std::size_t size = 1; size <= std::min(longest, text.size() - at); ++size) {
        try {
            result += util::from_ansi(text.substr(at, size));
            return size;
        } catch (const std::exception&) {
            continue;
        }
    }
    return 0;
}

// The server's text may be in another character set than the ANSI code page: what that cannot
// decode becomes a question mark, and the rest stays readable.
std::wstring decode(const std::string& text) {
    try {
        return util::from_ansi(text);
    } catch (const std::exception&) {
        std::wstring result;
        for (std::size_t at = 0; at < text.size();) {
            std::size_t size = decode_character(text, at, result);
            if (size == 0) {
                result += L'?';
                size = 1;
            }
            at += size;
        }
        return result;
    }
}

}  // namespace

COracleHandle::~COracleHandle() {
    if (handle) {
        get_interface()->handle_free(handle, type, abandoned);
    }
}

boost::shared_ptr<COracleEnv> COracleEnv::create(const abandoned_t& abandoned) {
    const auto oci = get_interface();
    const boost::shared_ptr<COracleEnv> result(
        new COracleEnv(oci->env_create(abandoned), abandoned));
    result->error =
        boost::make_shared<COracleError>(oci->error_alloc(result->env, abandoned), abandoned);
    return result;
}

COracleEnv::~COracleEnv() {
    error.reset();
    get_interface()->handle_free(env, OCI_HTYPE_ENV, m_abandoned);
}

boost::shared_ptr<COracleHandle> COracleEnv::alloc_handle(ub4 type) {
    return boost::make_shared<COracleHandle>(get_interface()->handle_alloc(*this, type), type,
                                             m_abandoned);
}

std::uint32_t COracleEnv::check(sword status, std::uint32_t ignored_code) {
    if (status == OCI_ERROR) {
        const SOracleError reported = get_interface()->error_get(*this);
        if (reported.code == ignored_code) {
            return ignored_code;
        }
        last_error =
            reported.text.empty() ? L"Undefined Oracle error has occurred" : decode(reported.text);
        throw COracleExc(
            util::format_message("Oracle error has occurred. %1", util::to_ansi(last_error)),
            reported.code);
    }
    if (status == OCI_SUCCESS || status == OCI_SUCCESS_WITH_INFO || status == OCI_NO_DATA) {
        return 0;
    }
    const std::string text =
        util::format_message("Unexpected Oracle error has occurred. Code: %1",
                             util::to_string(static_cast<std::uint32_t>(status)));
    last_error = util::from_ansi(text);
    throw exc::runtime_exc_t(text);
}

}  // namespace specific::oracle
