// XML from files and from the module.
#pragma once

#include <string>

class TiXmlDocument;

namespace host {

/// Parses a document as the module writes them: UTF-8, data in attributes alone, no comments.
/// Throws std::runtime_error, which says that it is no `what`, for anything else and for one that
/// the parser could choke on.
void parse_xml(const std::string& utf8, const std::string& what, TiXmlDocument& document);

}  // namespace host
