// How deep a document would make the parser recurse.
#pragma once

#include <cstddef>
#include <string>

namespace util {

/// The parser compares each attribute of an element with all before it.
constexpr std::size_t xml_max_attributes = 256;

/// The deepest nesting of elements in `text`, as TinyXML's own tokens give it, found without
/// recursion; `limit` + 1 as well where it cannot be told, or where an element has more
/// attributes than that. What the parser may take for UTF-8 has to be UTF-8.
std::size_t xml_nesting_depth(const std::string& text, std::size_t limit);

}  // namespace util
