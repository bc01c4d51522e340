// How deep a document would make the parser recurse.
#pragma once

#include <cstddef>
#include <string>

namespace util {

/// The deepest nesting of elements in `text`, as TinyXML's own tokens give it, found without
/// recursion; `limit` + 1 as well where it cannot be told.
std::size_t xml_nesting_depth(const std::string& text, std::size_t limit);

}  // namespace util
