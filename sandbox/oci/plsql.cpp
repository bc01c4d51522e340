#include "sandbox/oci/errors.h"
#include "sandbox/oci/redo.h"
#include "sandbox/oci/server_files.h"
#include "sandbox/oci/statements.h"
#include "sandbox/oci/values.h"

namespace sandbox::oci {

namespace {

using kind_t = token_t::kind_t;

struct argument_t {
    std::string text;               // of a literal
    const OCIBind* bind = nullptr;  // of a placeholder

    std::string value() const { return bind ? read_value(*bind).value_or("") : text; }
    void assign(std::int64_t number) const {
        if (!bind) {
            fail(6550, "line 1, column 1:",
                 "PLS-00363: expression cannot be used as an assignment target\n");
        }
        write_number(*bind, number);
    }
};

using arguments_t = std::vector<argument_t>;

void copy_file(const execution_t& execution, const arguments_t& a) {
    oci::copy_file(execution.instance, a[0].value(), a[1].value(), a[2].value(), a[3].value());
}

void get_file_attributes(const execution_t& execution, const arguments_t& a) {
    const asm_attributes_t attributes = asm_attributes(execution.instance, a[0].value());
    a[1].assign(attributes.type);
    a[2].assign(attributes.blocks);
    a[3].assign(attributes.block_size);
}

void remove_file(const execution_t& execution, const arguments_t& a) {
    oci::remove_file(execution.instance, a[0].value(), a[1].value());
}

void delete_archived_log(const execution_t& execution, const arguments_t& a) {
    oci::delete_archived_log(execution, a[0].value(), a[1].value());
}

struct procedure_t {
    const char* name;
    std::size_t arguments;
    bool built_in;  // there without a dictionary, for SYSDBA only
    void (*run)(const execution_t&, const arguments_t&);
};

const procedure_t procedures[] = {
    {"DBMS_BACKUP_RESTORE.DELETEARCHIVEDLOG", 8, true, delete_archived_log},
    {"DBMS_DISKGROUP.GETFILEATTR", 4, true, get_file_attributes},
    {"DBMS_FILE_TRANSFER.COPY_FILE", 4, false, copy_file},
    {"UTL_FILE.FREMOVE", 2, false, remove_file},
};

// Walks a block's tokens; a token that is not expected is Oracle's PLS-00103.
class parser_t {
  public:
    explicit parser_t(const OCIStmt& statement) : m_statement(statement) {}

    bool take(const char* word) {
        if (at_end() || !now().is(word)) {
            return false;
        }
        ++m_next;
        return true;
    }

    void expect(const char* word) {
        if (!take(word)) {
            unexpected();
        }
    }

    std::string procedure_name() {
        std::string name;
        do {
            if (at_end() || now().kind != kind_t::word) {
                unexpected();
            }
            name += (name.empty() ? "" : ".") + m_statement.tokens[m_next++].upper;
        } while (take("."));
        return name;
    }

    arguments_t arguments() {
        arguments_t list;
        expect("(");
        do {
            const std::string sign = take("-") ? "-" : "";
            if (at_end() || (!sign.empty() && now().kind != kind_t::number)) {
                unexpected();
            }
            const token_t& token = m_statement.tokens[m_next++];
            if (token.kind == kind_t::placeholder) {
                list.push_back({"", &bound_value(m_statement, token.upper)});
            } else if (token.kind == kind_t::text || token.kind == kind_t::number) {
                list.push_back({sign + token.text, nullptr});
            } else if (token.is("NULL")) {
                list.push_back({"", nullptr});
            } else {
                --m_next;
                unexpected();
            }
        } while (take(","));
        expect(")");
        return list;
    }

    // "line 2, column 7" of the last token that was taken.
    std::string position() const {
        const std::size_t at = m_next ? m_statement.tokens[m_next - 1].begin : 0;
        std::size_t line = 1;
        std::size_t column = 1;
        for (std::size_t i = 0; i < at; ++i) {
            column = m_statement.text[i] == '\n' ? 1 : column + 1;
            line += m_statement.text[i] == '\n' ? 1 : 0;
        }
        return "line " + std::to_string(line) + ", column " + std::to_string(column) + ":";
    }

    bool at_end() const { return m_next >= m_statement.tokens.size(); }

  private:
    const token_t& now() const { return m_statement.tokens[m_next]; }

    [[noreturn]] void unexpected() const {
        const std::string symbol = at_end() ? "end-of-file" : now().text;
        fail(6550, position(), "PLS-00103: Encountered the symbol \"" + symbol + "\"\n");
    }

    const OCIStmt& m_statement;
    std::size_t m_next = 0;
};

const procedure_t& find_procedure(const execution_t& execution, const parser_t& parser,
                                  const std::string& name) {
    for (const procedure_t& procedure : procedures) {
        const bool visible = procedure.built_in ? execution.identity.sysdba
                                                : execution.status.state == state_t::open;
        if (visible && (name == procedure.name || name == std::string("SYS.") + procedure.name)) {
            return procedure;
        }
    }
    fail(6550, parser.position(), "PLS-00201: identifier '" + name + "' must be declared\n");
}

}  // namespace

void run_block(const execution_t& execution) {
    parser_t parser(execution.statement);
    parser.expect("BEGIN");
    struct call_t {
        const procedure_t* procedure;
        arguments_t arguments;
    };
    // Oracle compiles the block before it runs the first call of it.
    std::vector<call_t> calls;
    do {
        const std::string name = parser.procedure_name();
        const procedure_t& procedure = find_procedure(execution, parser, name);
        calls.push_back({&procedure, parser.arguments()});
        if (calls.back().arguments.size() != procedure.arguments) {
            fail(6550, parser.position(),
                 "PLS-00306: wrong number or types of arguments in call to '" + name + "'\n");
        }
        parser.expect(";");
    } while (!parser.take("END"));
    parser.expect(";");
    if (!parser.at_end()) {
        parser.expect("end of the block");
    }
    for (const call_t& call : calls) {
        try {
            call.procedure->run(execution, call.arguments);
        } catch (ora_error_t& failure) {
            const std::string name = call.procedure->name;
            failure.text +=
                ora_line(6512, "at \"SYS." + name.substr(0, name.find('.')) + "\", line 1") +
                ora_line(6512, "at line 2");
            throw;
        }
    }
}

}  // namespace sandbox::oci
