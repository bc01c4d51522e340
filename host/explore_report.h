// The explore document as tables for people.
#pragma once

#include <iosfwd>

#include "host/explore_document.h"

namespace host {

struct report_options_t {
    bool files = false;  ///< each file of each database
    bool pfile = false;  ///< the texts of the parameter files
    bool trace = false;  ///< with a failed instance, its way through the module
};

void print_report(std::ostream& stream, const explore_document_t& document,
                  const report_options_t& options);

/// Instances that could not be read.
std::size_t count_failed(const explore_document_t& document);

}  // namespace host
