// Preparing and finishing as commands do them: the document in safety first, verdicts on the screen
// afterwards.
#pragma once

#include <string>

#include "host/commands.h"

namespace host {

/// Prepares all databases. Before anything is changed, `file` holds what might have to be undone,
/// by what exploring shows; afterwards the prepare document. `document` is the same in memory,
/// empty as long as nothing was touched, also when it throws std::runtime_error, as where `file`
/// has content already.
exit_code prepare_into(const std::string& file, module_t& module, const arguments_t& arguments,
                       const logon_t& logon, std::string& document);

/// Finishes by a prepare document. Throws std::runtime_error.
exit_code finish_by(const std::string& document, module_t& module, const arguments_t& arguments,
                    const logon_t& logon);

/// Takes a document that has served out of the way: it becomes FILE.done.
void put_away(const std::string& file);

/// The prepare document inside the module's meta file; empty where there is none, or none that is
/// whole.
std::string read_meta_document(module_t& module);

/// Whether a snapshot taken behind the prepare with this document could be completed on a restored
/// machine: the meta file is there and is of that prepare, where there is anything to complete.
bool could_be_restored(const std::string& document, module_t& module);

/// The words that name the sandbox, if there is one, so that a command that is shown can be run as
/// it stands.
std::string sandbox_words(const arguments_t& arguments);

}  // namespace host
