#include "config/protected_credentials.h"

#include <exception>
#include <string>
#include <vector>

#include "support/logging/logger.h"
#include "support/text/base64.h"
#include "support/xml/secrets.h"
#include "support/xml/xml.h"

namespace specific::oracle {

using logging::g_oralib_log;
using util::xml_node_t;

namespace {

void hide_below(const xml_node_t& parent, const std::string& harmless) {
    for (const xml_node_t& element : util::xml_child_elements(parent)) {
        for (const std::string& name : util::xml_secret_attributes()) {
            std::string value;
            if (util::xml_try_get_attribute(element, name, value) && value != harmless) {
                util::xml_set_attribute(element, name, "(hidden)");
            }
        }
        hide_below(element, harmless);
    }
}

}  // namespace

bool protect_credentials(const std::string&, const util::secret_t&, std::string& text) {
    try {
        // Nothing here holds a key, and a secret without one is none.
        const std::vector<unsigned char> user;
        const std::vector<unsigned char> password;
        const std::string u = util::base64_encode(user.data(), user.size());
        const std::string p = util::base64_encode(password.data(), password.size());
        const xml_node_t document = util::xml_new_document();
        const xml_node_t root = util::xml_add_element(document, "root");
        util::xml_set_attribute(root, "u", u);
        util::xml_set_attribute(root, "p", p);
        const std::string serialized = util::xml_serialize(document);
        text = util::base64_encode(serialized.data(), serialized.size());
        return true;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Unable to serialize protected credentials", e);
        return false;
    }
}

bool unprotect_credentials(const std::string& text, std::string& user, std::string& password) {
    try {
        const xml_node_t document = util::xml_parse_secret(util::base64_decode(text));
        const xml_node_t root = util::xml_child(document, "root");
        const std::string u = util::xml_get_attribute(root, "u");
        const std::string p = util::xml_get_attribute(root, "p");
        user = util::base64_decode(u);
        password = util::base64_decode(p);
        return true;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Unable to deserialize protected credentials", e);
        return false;
    }
}

std::string hide_protected(const std::string& xml) {
    if (!util::xml_names_secret(xml)) {
        return xml;
    }
    try {
        std::string harmless;
        protect_credentials("", {}, harmless);
        const xml_node_t document = util::xml_parse(xml);
        hide_below(document, harmless);
        return util::xml_serialize(document);
    } catch (const std::exception&) {
        return "(not shown, since it holds an account)";
    }
}

}  // namespace specific::oracle
