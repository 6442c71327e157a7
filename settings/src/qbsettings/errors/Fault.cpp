#include <qbsettings/errors/Fault.hpp>

#include <algorithm>
#include <cstdlib>

#include <qbsettings/text/Text.hpp>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>

namespace qbsettings {

namespace {

namespace fs = qf::filesystem;

/// Takes "WORD=number" and the blanks behind it off the front of `text`; the number, or 0.
unsigned long takeNumber(std::string const& word, std::string& text) {
    if (text.compare(0, word.size(), word) != 0) return 0;
    std::size_t const end = text.find_first_not_of("0123456789", word.size());
    unsigned long const number = std::strtoul(text.c_str() + word.size(), nullptr, 10);
    std::size_t const rest = text.find_first_not_of(' ', end);
    text = rest == std::string::npos ? std::string() : text.substr(rest);
    return number;
}

bool isFile(qf::ustring const& path) {
    try {
        return (fs::status(path) & fs::file_type_mask) == fs::regular_file;
    } catch (fs::FsysExceptionBase const&) {
        return false;
    }
}

/// The tab that ends the path at `at`, `npos` if there is no path. A path can hold tabs and line
/// ends itself: what is in front of the tab has to be a file.
std::size_t endOfPath(qf::ustring const& detail, std::size_t at) {
    for (std::size_t tab = detail.find(u'\t', at); tab != qf::ustring::npos;
         tab = detail.find(u'\t', tab + 1)) {
        if (isFile(detail.substr(at, tab - at))) return tab;
    }
    // A file that is gone by now.
    std::size_t const tab = detail.find(u'\t', at);
    return tab < detail.find(u'\n', at) ? tab : qf::ustring::npos;
}

}  // namespace

std::string Fault::toText() const {
    if (file.empty()) return message;
    std::string const place =
        line == 0 ? "" : ":" + std::to_string(line) + ":" + std::to_string(column);
    return pathText(file) + place + ": " + message;
}

Fault faultOfText(qf::ustring const& file, qf::ustring const& text) {
    Fault fault{file, qf::i18n::to_string(text)};
    fault.line = takeNumber("LineNum=", fault.message);
    fault.column = takeNumber("ColNum=", fault.message);
    // The path stands in front already.
    std::string const unopened = "cannot open " + inQuotes(pathText(file)) + ": ";
    if (fault.message.compare(0, unopened.size(), unopened) == 0) {
        fault.message.replace(0, unopened.size(), "cannot be opened: ");
    }
    return fault;
}

std::vector<Fault> faultsOfLoad(qf::ustring const& detail) {
    std::vector<Fault> faults;
    for (std::size_t at = 0; at < detail.size();) {
        std::size_t const tab = endOfPath(detail, at);
        std::size_t const text = tab == qf::ustring::npos ? at : tab + 1;
        std::size_t const end = std::min(detail.find(u'\n', text), detail.size());
        faults.push_back(faultOfText(text == at ? qf::ustring() : detail.substr(at, tab - at),
                                     detail.substr(text, end - text)));
        at = end + 1;
    }
    return faults;
}

}  // namespace qbsettings
