#pragma once

#include <memory>
#include <string>
#include <vector>

#include <qbsettings/output/Cell.hpp>

namespace qbsettings {

/// What a command prints on standard output, in one of three forms: rows of columns with tabs
/// between, for programs; the same aligned and coloured, where a person looks on; one JSON
/// document, where that was asked for. A command says what there is to show, and never asks for the
/// form.
///
/// A document is begun, filled, and printed by `finish`; a command that ends early prints none.
/// Rows are printed as they come; on a terminal those of a table or a record at the end, aligned.
class Output {
public:
    enum class Form { rows, json, nothing };

    explicit Output(Form form);
    ~Output();
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;

    /// The document is a list of rows, which are aligned on a terminal.
    void beginTable();
    /// The document is a list.
    void beginList();
    /// The document is a list of the records that follow, which have an empty line between.
    void beginRecords();
    /// Each row is a document, and is printed and flushed at once; on a terminal its columns are as
    /// wide as the widest so far.
    void beginStream();
    /// The document is one thing with fields, which are aligned on a terminal.
    void beginRecord();

    /// A row of the list.
    void row(Row const& row);
    /// A row of a list that is a field of the record.
    void row(char const* list, Row const& row);
    /// A field of the record: a row that begins with its name. In JSON "read-only" is "readOnly".
    void field(std::string const& name, Cell const& cell);
    /// A field with several columns.
    void field(std::string const& name, Row const& row);
    /// The record has a list of that name, which may stay empty.
    void list(char const* name);

    /// A line as it stands; nothing in JSON.
    void line(std::string const& text);
    /// @{
    /// The same as without "note", in JSON alone.
    void note(Row const& row);
    void note(char const* list, Row const& row);
    void note(std::string const& name, Cell const& cell);
    /// @}
    /// The document is this one, in rows as in JSON.
    void show(Json const& document);
    /// A field with several columns, in rows alone.
    void show(std::string const& name, Row const& row);
    /// A member of a list of the record that has no columns, in JSON alone.
    void noteMember(char const* list, Cell const& cell);

    /// Prints what is left.
    void finish();

private:
    void begin(Json const& document, bool aligned);
    void print(Row const& row, std::string const& front);
    void printAligned();
    /// Puts the record, if there is one, to the others.
    void endRecord();

    Form const form_;
    bool const terminal_;
    bool streams_ = false;
    bool gathers_ = false;            ///< Rows are kept, to be aligned.
    std::unique_ptr<Json> records_;   ///< Those that are whole, if there are several.
    bool hasRecords_ = false;         ///< Rows of one were printed.
    std::unique_ptr<Json> document_;  ///< Empty unless one was begun and JSON was asked for.
    std::vector<std::vector<Cell>> gathered_;
    std::vector<std::size_t> widths_;  ///< Of the columns, but the last.
};

}  // namespace qbsettings
