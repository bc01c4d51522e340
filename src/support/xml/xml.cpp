#include "support/xml/xml.h"

#include <exception>

#include <tinyxml.h>
#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "support/exc/rethrow.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/xml/depth.h"
#include "support/xml/secrets.h"

namespace util {

namespace {

std::string short_form(const std::string& source) {
    constexpr std::size_t shown = 128;
    const std::string text =
        source.size() <= shown
            ? source
            : source.substr(0, shown) + "..., length: " + to_string(std::uint64_t{source.size()});
    return xml_names_secret(text) ? "not shown, since it holds an account" : text;
}

// Texts are in the code page, whatever a declaration says of it. Only where that is UTF-8, or where
// a byte-order mark says so, the parser is to find out; it then steps over whole characters.
TiXmlEncoding encoding_of(const std::string& text) {
    if (GetACP() != CP_UTF8 && text.compare(0, 3, "\xEF\xBB\xBF") != 0) {
        return TIXML_ENCODING_LEGACY;
    }
    try {
        from_utf8(text);
    } catch (const std::exception&) {
        throw exc::exc_base_t("XML error: [The text is not in UTF-8].");
    }
    return TIXML_ENCODING_UNKNOWN;
}

[[noreturn]] void throw_parse_error(const TiXmlDocument& document) {
    const std::string id = std::to_string(document.ErrorId());
    const char* const description = document.ErrorDesc();
    throw exc::exc_base_t(
        description && *description
            ? format_message("XML error: [%1]. Error code: [%2].", description, id)
            : format_message("XML error: [%1].", id));
}

TiXmlElement* element_of(const xml_node_t& handle) {
    return handle.node->ToElement();
}

}  // namespace

xml_node_t xml_new_document() {
    xml_node_t handle;
    handle.document = boost::make_shared<TiXmlDocument>();
    handle.node = handle.document.get();
    return handle;
}

xml_node_t xml_parse(const std::string& text) {
    try {
        const TiXmlEncoding encoding = encoding_of(text);
        if (xml_nesting_depth(text, xml_max_depth) > xml_max_depth) {
            throw exc::exc_base_t(format_message(
                "XML error: [%1].",
                "Elements are nested too deep or have too many attributes; limits: " +
                    to_string(std::uint64_t{xml_max_depth}) + " and " +
                    to_string(std::uint64_t{xml_max_attributes})));
        }
        xml_node_t handle = xml_new_document();
        handle.document->Parse(text.c_str(), nullptr, encoding);
        if (handle.document->Error()) {
            throw_parse_error(*handle.document);
        }
        return handle;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to parse XML content. Source content: [%1].",
                                short_form(text), e);
    }
}

xml_node_t xml_parse_secret(const std::string& text) {
    try {
        return xml_parse(text);
    } catch (const std::exception&) {
        throw exc::exc_base_t("Failed to parse XML content, which holds a secret.");
    }
}

std::string xml_serialize(xml_node_t node) {
    try {
        TiXmlPrinter printer;
        printer.SetIndent("");
        printer.SetLineBreak("");
        node.document->Accept(&printer);
        return printer.Str();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to serialize XML document.", e);
    }
}

xml_node_t xml_document(const xml_node_t& node) {
    return {node.document, node.document.get()};
}

xml_node_t xml_add_element(const xml_node_t& parent, const std::string& name) {
    if (!parent.node) {
        throw exc::exc_base_t(format_message(
            "Failed to create XML element [%1]. Parent node is not specified.", name));
    }
    return {parent.document, parent.node->InsertEndChild(TiXmlElement(name))};
}

void xml_graft(const xml_node_t& target, const xml_node_t& source) {
    if (const TiXmlElement* const element = source.node->FirstChildElement()) {
        target.node->InsertEndChild(*element);
    }
}

xml_node_t xml_child(const xml_node_t& parent, const std::string& name) {
    const xml_node_t found = xml_find_child(parent, name);
    if (!found.node) {
        throw exc::exc_base_t(
            format_message("There is no node with the specified name: [%1].", name));
    }
    return found;
}

xml_node_t xml_find_child(const xml_node_t& parent, const std::string& name) {
    return {parent.document, parent.node->FirstChildElement(name)};
}

xml_node_t xml_first_child(const xml_node_t& parent) {
    return {parent.document, parent.node ? parent.node->FirstChildElement() : nullptr};
}

xml_node_t xml_next_sibling(const xml_node_t& parent, const xml_node_t& current) {
    return {parent.document,
            current.node ? current.node->NextSibling() : parent.node->FirstChild()};
}

std::vector<xml_node_t> xml_child_elements(const xml_node_t& parent) {
    std::vector<xml_node_t> elements;
    if (!parent.node) {
        return elements;
    }
    for (xml_node_t child = xml_next_sibling(parent, {}); child.node;
         child = xml_next_sibling(parent, child)) {
        if (child.node->ToElement()) {
            elements.push_back(child);
        }
    }
    return elements;
}

std::string xml_get_attribute(const xml_node_t& element, const std::string& name) {
    std::string value;
    if (!xml_try_get_attribute(element, name, value)) {
        throw exc::exc_base_t(
            format_message("Attribute value is not specified. Attribute: [%1].", name));
    }
    return value;
}

std::wstring xml_get_wide_attribute(const xml_node_t& element, const std::string& name) {
    return from_ansi(xml_get_attribute(element, name));
}

void xml_set_attribute(const xml_node_t& element, const std::string& name,
                       const std::wstring& value) {
    xml_set_attribute(element, name, to_ansi(value));
}

bool xml_try_get_attribute(const xml_node_t& element, const std::string& name, std::string& value) {
    const std::string* const found = element_of(element)->Attribute(name);
    if (found) {
        value = *found;
    }
    return found != nullptr;
}

bool xml_try_get_bool_attribute(const xml_node_t& element, const std::string& name, bool& value) {
    std::string text;
    if (!xml_try_get_attribute(element, name, text)) {
        return false;
    }
    value = parse_bool(text);
    return true;
}

void xml_set_attribute(const xml_node_t& element, const std::string& name,
                       const std::string& value) {
    try {
        element_of(element)->SetAttribute(name, value);
    } catch (const std::exception& e) {
        exc::rethrow_with("Failed to set attribute value. Attribute: [%1]. Value: [%2].", name,
                          value, e);
    }
}

void xml_set_bool_attribute(const xml_node_t& element, const std::string& name, bool value) {
    xml_set_attribute(element, name, to_string(value));
}

void xml_set_int_attribute(const xml_node_t& element, const std::string& name, int value) {
    xml_set_attribute(element, name, std::to_string(value));
}

}  // namespace util
