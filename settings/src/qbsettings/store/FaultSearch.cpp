#include <qbsettings/store/FaultSearch.hpp>

#include <algorithm>
#include <fstream>
#include <vector>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/TemporaryFolder.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::Markup;

namespace {

std::string escaped(std::string const& text) {
    std::string result;
    for (char const c : text) {
        auto const code = static_cast<unsigned char>(c);
        bool const isPlain = code >= 0x20 && c != '<' && c != '>' && c != '&' && c != '"';
        result += isPlain ? std::string(1, c) : "&#" + std::to_string(code) + ";";
    }
    return result;
}

bool isWithinKey(FaultyElement const& place) {
    return place.node->tag == "key" && place.node != place.element;
}

class Search {
public:
    Search(qf::ustring const& file, Markup const& top) : file_(file), top_(top) {
        walkElements(rootElement(top), [this](FaultyElement const& element) {
            elements_.push_back(element);
            return false;
        });
        reason_ = refusalOf(file, file);
    }

    std::optional<FaultyElement> run() {
        if (reason_.empty()) return {};
        // A beginning that ends within a key can have a fault of its own, so whole keys go first.
        std::vector<std::size_t> ends;
        for (std::size_t i = 1; i <= elements_.size(); ++i) {
            if (i == elements_.size() || !isWithinKey(elements_[i])) ends.push_back(i);
        }
        auto const end = firstRefused(ends);
        if (end == ends.end()) return {};
        std::size_t const begin = end == ends.begin() ? 0 : *(end - 1);
        std::vector<std::size_t> within;
        for (std::size_t i = begin + 1; i <= *end; ++i)
            within.push_back(i);
        auto const last = firstRefused(within);
        return elements_[(last == within.end() ? begin + 1 : *last) - 1];
    }

private:
    using Counts = std::vector<std::size_t>;

    /// Of the beginnings that hold so many elements, the first that is refused for the reason.
    Counts::const_iterator firstRefused(Counts const& counts) {
        auto const first = std::partition_point(
            counts.begin(), counts.end(), [this](std::size_t count) { return !isRefused(count); });
        bool const isIt = first != counts.end() && isRefused(*first);
        return isIt ? first : counts.end();
    }

    bool isRefused(std::size_t count) {
        fs::path const beginning = fs::path(folder_.path()) / fs::path(file_).filename();
        std::ofstream(beginning.native(), std::ios::binary) << textOf(top_, count);
        return refusalOf(beginning.str(), file_) == reason_;
    }

    /// The element with what is inside, as long as `left` elements last.
    std::string textOf(Markup const& element, std::size_t& left) const {
        --left;
        std::string text = "<" + element.tag;
        // The namespaces do not stand among the attributes.
        if (&element == &top_) text += " xmlns=\"urn:quillbyte.zenbar.settings\"";
        for (auto const& [name, value] : element.attributes) {
            if (name.find(':') == std::string::npos)
                text += " " + name + "=\"" + escaped(value) + "\"";
        }
        text += ">" + ownText(element);
        for (Markup const& child : element.children) {
            if (left == 0) break;
            text += textOf(child, left);
        }
        return text + "</" + element.tag + ">";
    }

    std::string ownText(Markup const& element) const {
        if (element.tag == "additionalpath") {
            fs::path const folder = fs::path(file_).parent_path();
            fs::path const named = qf::i18n::to_ustring(element.lastPiece);
            return escaped(pathText(fs::absolute(named, folder).str()));
        }
        // White space between elements is no text.
        bool const hasText = element.tag == "value" || element.tag == "choices" ||
                             element.tag == "min" || element.tag == "max";
        if (!hasText) return {};
        std::string const& text = element.tag == "value" ? element.text : element.lastPiece;
        bool const fits = text.find("]]>") == std::string::npos &&
                          text.find('\r') == std::string::npos && !text.empty();
        return fits ? "<![CDATA[" + text + "]]>" : escaped(text);
    }

    qf::ustring const& file_;
    Markup const& top_;
    std::string reason_;
    std::vector<FaultyElement> elements_;
    TemporaryFolder folder_;
};

}  // namespace

std::string refusalOf(qf::ustring const& file, qf::ustring const& path) {
    std::string text;
    try {
        settings::core::Settings::importAsStandaloneObject(file);
        return text;
    } catch (std::exception const& error) {
        text = faultOfImport(file, error).message;
    }
    std::string const wrong = pathText(file);
    std::string const right = pathText(path);
    for (std::size_t at = 0; (at = text.find(wrong, at)) != std::string::npos; at += right.size())
        text.replace(at, wrong.size(), right);
    return text;
}

std::optional<FaultyElement> findFaultyElement(qf::ustring const& file, Markup const& top) {
    return Search(file, top).run();
}

}  // namespace qbsettings
