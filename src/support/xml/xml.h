// XML documents, as handles that keep their document alive. All text is in the ANSI code page;
// names are ASCII and compared byte for byte.
#pragma once

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

class TiXmlDocument;
class TiXmlNode;

namespace util {

/// A place in a document, copied freely; a null `node` marks the absence of one. A document is
/// used by one thread at a time.
struct xml_node_t {
    boost::shared_ptr<TiXmlDocument> document;
    TiXmlNode* node = nullptr;
};

/// Deepest nesting of elements that is parsed: the parser recurses, and must not end the process
/// on a hostile document.
constexpr std::size_t xml_max_depth = 256;

xml_node_t xml_new_document();
/// The encoding of a declaration is not looked at. Throws for what is no XML, nested deeper than
/// xml_max_depth, or has an element with more attributes than xml_max_attributes; the beginning of
/// the text stands in the failure unless it has a secret attribute (xml_names_secret).
xml_node_t xml_parse(const std::string& text);
/// The same; a failure does not repeat the text.
xml_node_t xml_parse_secret(const std::string& text);
/// One line, without declaration.
std::string xml_serialize(xml_node_t node);
/// The handle on the whole document that `node` lies in.
xml_node_t xml_document(const xml_node_t& node);

/// A new last child of `parent`; throws where that is no node.
xml_node_t xml_add_element(const xml_node_t& parent, const std::string& name);
/// Copies the first element of `source`, if it has one, with all below it to the end of `target`'s
/// children.
void xml_graft(const xml_node_t& target, const xml_node_t& source);

/// The first child element of that name; throws where there is none.
xml_node_t xml_child(const xml_node_t& parent, const std::string& name);
xml_node_t xml_find_child(const xml_node_t& parent, const std::string& name);
/// The first child that is an element.
xml_node_t xml_first_child(const xml_node_t& parent);
/// The child behind `current`, whatever its type; the first one where `current` is none.
xml_node_t xml_next_sibling(const xml_node_t& parent, const xml_node_t& current);
/// The children that are elements; none for a null `parent`.
std::vector<xml_node_t> xml_child_elements(const xml_node_t& parent);

/// Throws where the attribute is absent.
std::string xml_get_attribute(const xml_node_t& element, const std::string& name);
/// Wide text goes through the code page, and throws where that cannot hold it.
std::wstring xml_get_wide_attribute(const xml_node_t& element, const std::string& name);
void xml_set_attribute(const xml_node_t& element, const std::string& name,
                       const std::wstring& value);
/// False where the attribute is absent; `value` is then left alone.
bool xml_try_get_attribute(const xml_node_t& element, const std::string& name, std::string& value);
bool xml_try_get_bool_attribute(const xml_node_t& element, const std::string& name, bool& value);
void xml_set_attribute(const xml_node_t& element, const std::string& name,
                       const std::string& value);
void xml_set_bool_attribute(const xml_node_t& element, const std::string& name, bool value);
void xml_set_int_attribute(const xml_node_t& element, const std::string& name, int value);

}  // namespace util
