#include <qbsettings/store/FaultSearch.hpp>

#include <algorithm>
#include <fstream>
#include <vector>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/MarkupText.hpp>
#include <qbsettings/store/TemporaryFolder.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::Markup;

namespace {

bool isWithinKey(FaultyElement const& place) {
    return place.node->tag == "key" && place.node != place.element;
}

class Search {
public:
    Search(qf::ustring const& file, Markup const& top, std::string const& reason)
        : file_(file), top_(top), reason_(reason) {
        walkElements(rootElement(top), [this](FaultyElement const& element) {
            elements_.push_back(element);
            return false;
        });
    }

    std::optional<FaultyElement> run() {
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
        std::ofstream(beginning.native(), std::ios::binary)
            << markupText(top_, folderOf(file_), count);
        return refusalOf(beginning.str(), file_) == reason_;
    }

    qf::ustring const& file_;
    Markup const& top_;
    std::string const& reason_;
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

std::optional<FaultyElement> findFaultyElement(qf::ustring const& file, Markup const& top,
                                               std::string const& reason) {
    return Search(file, top, reason).run();
}

}  // namespace qbsettings
