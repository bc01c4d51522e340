// XML from files and from the module.
#pragma once

#include <string>

class TiXmlDocument;
class TiXmlElement;

namespace host {

/// Parses a document as the module writes them: UTF-8, data in attributes alone, no comments.
/// Throws std::runtime_error, which says that it is no `what`, for anything else and for one that
/// the parser could choke on.
void parse_xml(const std::string& utf8, const std::string& what, TiXmlDocument& document);

/// An attribute's value; empty where there is none.
std::string text_of(const TiXmlElement& element, const char* attribute);

}  // namespace host
