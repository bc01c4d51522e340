#include "oracle/logs/log_descriptions.h"

#include <exception>

#include "config/protected_credentials.h"
#include "support/exc/rethrow.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/win/file.h"
#include "support/win/path.h"
#include "support/win/whole_file.h"
#include "support/xml/xml.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;
using util::xml_node_t;

namespace {

constexpr const char* save_failure = "Failed to save oracle log description";

xml_node_t new_list() {
    const xml_node_t document = util::xml_new_document();
    util::xml_add_element(document, "archived_logs");
    return document;
}

// The list as the host gets it; the log has it too.
std::wstring finish_list(const xml_node_t& list) {
    const std::string text = util::xml_serialize(list);
    const std::string shown = hide_protected(text);
    g_oralib_log.line(shown);
    try {
        return util::from_ansi(text);
    } catch (const std::exception&) {
        if (shown == text) {
            throw;
        }
        throw exc::exc_base_t("The list does not fit the code page.");
    }
}

xml_node_t describe(const SArchLogInfo& log, const std::wstring& creationTimeUtc) {
    const xml_node_t document = util::xml_new_document();
    const xml_node_t element = util::xml_add_element(document, "archived_log");
    util::xml_set_attribute(element, "logPath", log.logPath);
    util::xml_set_attribute(element, "size", log.size);
    util::xml_set_attribute(element, "firstChange", log.firstChange);
    util::xml_set_attribute(element, "firstTimeUtc", log.firstTimeUtc);
    util::xml_set_attribute(element, "nextChange", log.nextChange);
    util::xml_set_attribute(element, "nextTimeUtc", log.nextTimeUtc);
    util::xml_set_attribute(element, "sid", log.sid);
    util::xml_set_attribute(element, "homePath", log.homePath);
    util::xml_set_attribute(element, "seqNum", log.seqNum);
    util::xml_set_attribute(element, "dbId", log.dbId);
    util::xml_set_attribute(element, "recId", log.recId);
    util::xml_set_attribute(element, "stamp", log.stamp);
    util::xml_set_attribute(element, "xmlLogPath", log.xmlLogPath);
    util::xml_set_bool_attribute(element, "isLogCopied", log.isLogCopied);
    util::xml_set_attribute(element, "creationUsn", log.creationUsn);
    util::xml_set_attribute(element, "creationTimeUtc", creationTimeUtc);
    util::xml_set_attribute(element, "resetlogsChange", log.resetlogsChange);
    return document;
}

xml_node_t SaveLogDescription(const SArchLogInfo& log, const std::wstring& path,
                              const std::wstring& creationTimeUtc) {
    try {
        log_scope_t scope(g_oralib_log, "Saving oracle log description to: %1",
                          util::to_ansi_safe(path));
        const xml_node_t document = describe(log, creationTimeUtc);
        // A half one would fail every listing, an empty one hide its copy for ever.
        win::write_whole_file(path, util::xml_serialize(document));
        scope.ok();
        return document;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace(save_failure, e);
    }
}

bool is_file(const std::wstring& path) {
    return win::path_exists(path) && !win::folder_exists(path);
}

void remove_log(const xml_node_t& element) {
    const std::wstring log_path = util::xml_get_wide_attribute(element, "logPath");
    bool is_copied = true;
    util::xml_try_get_bool_attribute(element, "isLogCopied", is_copied);
    if (is_copied && is_file(log_path)) {
        g_oralib_log.line("Found oracle log to delete: %1", util::to_ansi_safe(log_path));
        win::remove_file(log_path);
    }
    std::string narrow_xml_path;
    util::xml_try_get_attribute(element, "xmlLogPath", narrow_xml_path);
    const std::wstring xml_path = narrow_xml_path.empty()
                                      ? win::replace_extension(log_path, L".xml")
                                      : util::from_ansi(narrow_xml_path);
    if (is_file(xml_path)) {
        win::remove_file(xml_path);
    }
}

}  // namespace

std::wstring SaveLogDescriptions(const arch_logs_t& logs, const std::wstring& creationTimeUtc) {
    try {
        const xml_node_t list = new_list();
        const xml_node_t root = util::xml_first_child(list);
        for (const auto& log : logs) {
            if (log->size.empty()) {
                continue;
            }
            util::xml_graft(root, SaveLogDescription(*log, log->xmlLogPath, creationTimeUtc));
        }
        return finish_list(list);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace(save_failure, e);
    }
}

std::wstring EnumLogDescriptions(const std::wstring& folder) {
    try {
        const xml_node_t list = new_list();
        const xml_node_t root = util::xml_first_child(list);
        if (win::path_exists(folder)) {
            for (const std::wstring& path : win::list_files(folder)) {
                if (win::get_extension(path) != L".xml") {
                    continue;
                }
                g_oralib_log.line("Found xml file: %1", util::to_ansi_safe(path));
                const std::string text = win::win_file_t::open_read_only(path)->read_all();
                if (!text.empty()) {
                    // The meta file of a backup under way comes up too.
                    util::xml_graft(root, util::xml_parse(text));
                }
            }
        }
        return finish_list(list);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to enum oracle logs description", e);
    }
}

void RemoveLogs(const std::wstring& logs) {
    try {
        log_scope_t scope(g_oralib_log, "Removing oracle logs: %1",
                          hide_protected(util::to_ansi_safe(logs)));
        const xml_node_t list = util::xml_first_child(util::xml_parse(util::to_ansi(logs)));
        for (const xml_node_t& element : util::xml_child_elements(list)) {
            remove_log(element);
        }
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace(save_failure, e);
    }
}

}  // namespace specific::oracle
