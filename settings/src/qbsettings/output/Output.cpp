#include <qbsettings/output/Output.hpp>

#include <algorithm>
#include <cstddef>
#include <iostream>

#include <nlohmann/json.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

namespace {

/// In characters, without regard to wide ones.
std::size_t widthOf(std::string const& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    }));
}

char const* colourOf(std::string const& level) {
    if (level == "session") return "33";
    if (level == "user") return "32";
    if (level == "factory") return "36";
    return level == "-" ? "2" : "35";
}

/// "read-only" and "in force" as names of JSON: "readOnly", "inForce".
std::string fieldName(std::string const& field) {
    std::string name;
    for (std::size_t i = 0; i < field.size(); ++i) {
        bool const isGap = field[i] == ' ' || field[i] == '-';
        if (isGap) ++i;
        name += isGap ? static_cast<char>(field[i] - 'a' + 'A') : field[i];
    }
    return name;
}

void printDocument(Json const& document) {
    // A byte that is no UTF-8 comes as U+FFFD.
    std::cout << document.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

Json objectOf(Row const& row) {
    Json object = Json::object();
    for (Column const& column : row)
        object[column.name] = column.cell.json();
    return object;
}

}  // namespace

Output::Output(Form form) : form_(form), terminal_(isOutputTerminal()) {}

Output::~Output() = default;

void Output::begin(Json const& document, bool aligned) {
    document_ = form_ == Form::json ? std::make_unique<Json>(document) : nullptr;
    gathered_.clear();
    widths_.clear();
    gathers_ = aligned && terminal_;
}

void Output::beginTable() { begin(Json::array(), true); }
void Output::beginList() { begin(Json::array(), false); }

void Output::beginStream() {
    begin(Json::array(), true);
    streams_ = true;
}

void Output::beginRecords() { records_ = std::make_unique<Json>(Json::array()); }

void Output::beginRecord() {
    if (records_) endRecord();
    begin(Json::object(), true);
}

void Output::endRecord() {
    printAligned();
    if (document_) records_->push_back(*document_);
    if (hasRecords_) line({});
    hasRecords_ = false;
}

// --- Both forms -------------------------------------------------------------------------------

void Output::row(Row const& row) {
    note(row);
    print(row, {});
    if (!streams_) return;
    printAligned();
    if (document_) {
        printDocument(document_->back());
        document_->clear();
    }
    std::cout.flush();
}

void Output::row(char const* list, Row const& row) {
    note(list, row);
    print(row, {});
}

void Output::field(std::string const& name, Cell const& cell) {
    note(name, cell);
    print({{"", cell}}, name);
}

void Output::field(std::string const& name, Row const& row) {
    if (document_) (*document_)[fieldName(name)] = objectOf(row);
    print(row, name);
}

// --- One of them ------------------------------------------------------------------------------

void Output::list(char const* name) {
    if (document_) (*document_)[name] = Json::array();
}

void Output::line(std::string const& text) {
    if (form_ != Form::rows) return;
    // In step with a progress line on the same terminal.
    bool const interleaved = eraseProgress();
    std::cout << text << '\n';
    if (interleaved) std::cout.flush();
}

void Output::note(Row const& row) {
    if (document_) document_->push_back(objectOf(row));
}

void Output::note(char const* list, Row const& row) {
    if (document_) (*document_)[list].push_back(objectOf(row));
}

void Output::note(std::string const& name, Cell const& cell) {
    if (document_) (*document_)[fieldName(name)] = cell.json();
}

void Output::show(Json const& document) {
    if (form_ != Form::nothing) document_ = std::make_unique<Json>(document);
}

void Output::noteMember(char const* list, Cell const& cell) {
    if (document_) (*document_)[list].push_back(cell.json());
}

void Output::show(std::string const& name, Row const& row) { print(row, name); }

void Output::print(Row const& row, std::string const& front) {
    if (form_ != Form::rows) return;
    hasRecords_ = records_ != nullptr;
    if (gathers_) {
        std::vector<Cell>& cells = gathered_.emplace_back();
        if (!front.empty()) cells.emplace_back(front);
        for (Column const& column : row)
            cells.push_back(column.cell);
        return;
    }
    std::vector<std::string> columns;
    if (!front.empty()) columns.push_back(front);
    for (Column const& column : row)
        columns.push_back(asColumn(column.cell.text()));
    line(join(columns, "\t"));
}

void Output::printAligned() {
    bool const colours = wantsColours();
    std::vector<std::vector<std::string>> rows;
    for (auto const& cells : gathered_) {
        auto& texts = rows.emplace_back();
        widths_.resize(std::max(widths_.size(), cells.size()));
        for (std::size_t i = 0; i < cells.size(); ++i) {
            texts.push_back(asColumn(cells[i].text()));
            // Nothing stands behind the last one.
            if (i + 1 < cells.size()) widths_[i] = std::max(widths_[i], widthOf(texts[i]));
        }
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        std::string text;
        for (std::size_t i = 0; i < rows[r].size(); ++i) {
            std::string const& column = rows[r][i];
            bool const coloured = colours && gathered_[r][i].isLevel();
            text += coloured ? std::string("\x1b[") + colourOf(column) + "m" + column + "\x1b[0m"
                             : column;
            if (i + 1 < rows[r].size()) text.append(widths_[i] - widthOf(column) + 2, ' ');
        }
        line(text);
    }
    gathered_.clear();
}

void Output::finish() {
    printAligned();
    if (!document_ || streams_) return;
    if (records_) {
        records_->push_back(*document_);
        document_.swap(records_);
    }
    printDocument(*document_);
    document_.reset();
}

}  // namespace qbsettings
