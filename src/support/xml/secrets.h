// What must not show of a document.
#pragma once

#include <string>
#include <vector>

namespace util {

/// The attributes that hold an account of a database or of the operating system.
const std::vector<std::string>& xml_secret_attributes();

/// Whether one of them stands in the text as an attribute has to, its name and "=" behind it,
/// whatever its value looks like and whether or not the text is XML. May take for one what only
/// looks so; never misses one.
bool xml_names_secret(const std::string& text);

}  // namespace util
