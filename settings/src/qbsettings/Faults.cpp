#include <qbsettings/Faults.hpp>

#include <qbsettings/Errors.hpp>
#include <qbsettings/Text.hpp>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/I18n.hpp>

namespace qbsettings {

namespace {

/// Takes "WORD=number" and the blanks behind it off the front of `text`; the number, or nothing.
std::string takeNumber(std::string const& word, std::string& text) {
    if (text.compare(0, word.size(), word) != 0) return {};
    std::size_t const end = text.find_first_not_of("0123456789", word.size());
    std::string const number = text.substr(word.size(), end - word.size());
    std::size_t const rest = text.find_first_not_of(' ', end);
    text = rest == std::string::npos ? std::string() : text.substr(rest);
    return number;
}

}  // namespace

Fault::Parts Fault::parts() const {
    Parts parts;
    parts.message = text;
    parts.line = takeNumber("LineNum=", parts.message);
    parts.column = takeNumber("ColNum=", parts.message);
    // A file that cannot be opened has its fault on no line.
    if (parts.line.empty() || parts.line == "0") parts.line = parts.column = "";
    return parts;
}

std::string Fault::toText() const {
    Parts const told = parts();
    if (file.empty()) return told.message;
    std::string const place = told.line.empty() ? "" : ":" + told.line + ":" + told.column;
    return pathText(file) + place + ": " + told.message;
}

std::vector<Fault> faultsOfLoad(qf::ustring const& detail) {
    std::vector<Fault> faults;
    for (std::size_t at = 0; at < detail.size();) {
        std::size_t const end = std::min(detail.find(u'\n', at), detail.size());
        qf::ustring const line = detail.substr(at, end - at);
        std::size_t const tab = line.find(u'\t');
        at = end + 1;
        if (tab == qf::ustring::npos) {
            faults.push_back({qf::ustring(), qf::i18n::to_string(line)});
        } else {
            faults.push_back({line.substr(0, tab), qf::i18n::to_string(line.substr(tab + 1))});
        }
    }
    return faults;
}

Fault faultOfImport(qf::ustring const& file, std::exception const& error) {
    namespace exception = settings::core::exception;
    if (auto const* reading = dynamic_cast<exception::ErrorReadingSettingsData const*>(&error)) {
        return {file, qf::i18n::to_string(reading->getDetailErrorMsg())};
    }
    return {file, reasonOf(error)};
}

}  // namespace qbsettings
