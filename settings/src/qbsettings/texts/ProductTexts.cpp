#include <qbsettings/texts/ProductTexts.hpp>

#include <utility>

namespace qbsettings::texts {

namespace {

constexpr char const* mark = ".texts";
constexpr char const* extension = ".json";

}  // namespace

std::string textsFileName(std::string const& product, std::string const& language) {
    return product + mark + (language.empty() ? "" : "." + language) + extension;
}

std::optional<FileName> parseTextsFileName(std::string const& name) {
    std::size_t const at = name.find(mark);
    if (at == std::string::npos || at == 0) return std::nullopt;
    std::string const rest = name.substr(at + std::string(mark).size());
    std::size_t const end = rest.rfind(extension);
    if (end == std::string::npos || end + std::string(extension).size() != rest.size())
        return std::nullopt;
    if (end == 0) return FileName{name.substr(0, at), {}};
    if (rest.front() != '.') return std::nullopt;
    return FileName{name.substr(0, at), rest.substr(1, end - 1)};
}

ProductTexts::ProductTexts(std::string folder, std::string product,
                           std::vector<std::string> languages)
    : folder_(std::move(folder)), product_(std::move(product)), languages_(std::move(languages)) {
    languages_.emplace_back();
}

Texts ProductTexts::of(std::string const& name) {
    if (files_.empty()) read();
    Texts texts;
    for (TextsFile const& file : files_) {
        auto const found = file.entries.find(name);
        if (found != file.entries.end()) fill(texts, found->second.texts);
    }
    return texts;
}

void ProductTexts::read() {
    for (std::string const& language : languages_)
        files_.push_back(readTextsFile(folder_ + "/" + textsFileName(product_, language)));
}

}  // namespace qbsettings::texts
