#include <qbsettings/check/TextReview.hpp>

#include <algorithm>
#include <utility>

#include <qbsettings/store/Directories.hpp>
#include <qbsettings/store/NodeTexts.hpp>
#include <qbsettings/text/Near.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/texts/Languages.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;

namespace {

using Nodes = std::map<std::string, SettingsPtr>;

/// To search for a near name takes its time among many.
constexpr int mostSuggestions = 20;

std::string nameOfFile(qf::ustring const& file) {
    return qf::i18n::to_string(fs::path(file).filename().str());
}

/// One file of texts.
class TextsFileReview {
public:
    TextsFileReview(qf::ustring file, std::string product)
        : file_(std::move(file)),
          product_(std::move(product)),
          content_(texts::readTextsFile(fs::path(file_).native())) {}

    void reviewWords() {
        if (!content_.problem.empty()) {
            add("texts-fault", content_.place, {},
                content_.problem + "; none of the texts of the file are shown");
        }
        for (texts::UnknownWord const& unknown : content_.unknownWords) {
            static std::vector<std::string> const known = {"summary", "description", "unit",
                                                           "labels",  "since",       "deprecated"};
            add("texts-unknown", unknown.place, fullName(unknown.name),
                fullName(unknown.name) + ": " + inQuotes(asLine(unknown.word)) +
                    " is no text that is shown" + suggestion(unknown.word, known));
        }
    }

    void reviewNames(Nodes const& nodes) {
        for (auto const& [name, entry] : content_.entries) {
            auto const found = nodes.find(name);
            if (found == nodes.end()) {
                add("texts-unknown", entry.place, fullName(name),
                    "there is no setting " + inQuotes(fullName(name)) + nearName(name, nodes));
            } else {
                reviewLabels(name, entry, found->second);
            }
        }
    }

    std::vector<Finding> const& findings() const { return findings_; }

private:
    void reviewLabels(std::string const& name, texts::Entry const& entry, SettingsPtr const& node) {
        if (entry.labelPlaces.empty()) return;
        std::vector<std::string> choices;
        if (node->isLeafNode()) choices = choiceTexts(settings::core::describeKey(node));
        for (auto const& [choice, place] : entry.labelPlaces) {
            if (std::find(choices.begin(), choices.end(), choice) != choices.end()) continue;
            add("texts-unknown", place, fullName(name),
                fullName(name) + ": " + inQuotes(asLine(choice)) + " is none of its choices" +
                    suggestion(choice, choices));
        }
    }

    std::string nearName(std::string const& name, Nodes const& nodes) {
        if (++suggestions_ > mostSuggestions) return {};
        std::vector<std::string> names;
        for (auto const& node : nodes)
            names.push_back(fullName(node.first));
        return suggestion(fullName(name), names);
    }

    std::string fullName(std::string const& name) const {
        return name.empty() ? product_ : product_ + "." + asLine(name);
    }

    void add(char const* id, texts::Place place, std::string const& key,
             std::string const& message) {
        findings_.push_back({{file_, message, place.line, place.column, key}, id});
    }

    qf::ustring file_;
    std::string product_;
    texts::TextsFile content_;
    std::vector<Finding> findings_;
    int suggestions_ = 0;
};

/// Why no program asks for a file of texts; empty if one may.
std::string whyUnread(texts::FileName const& name, std::string const& product) {
    if (name.product != product) {
        return "is never read, because the product of this folder is " + inQuotes(product);
    }
    if (name.language.empty() || texts::isLanguage(name.language)) return {};
    return "is never read, because " + inQuotes(name.language) +
           " is no language as 'de' and 'de_AT' are";
}

}  // namespace

bool TextReview::isTextsFile(qf::ustring const& file) {
    return texts::parseTextsFileName(nameOfFile(file)).has_value();
}

std::map<std::string, SettingsPtr> TextReview::nodesOf(SettingsPtr const& product) {
    Nodes nodes;
    std::vector<std::pair<std::string, SettingsPtr>> open = {{std::string(), product}};
    while (!open.empty()) {
        auto const [name, node] = open.back();
        open.pop_back();
        nodes[name] = node;
        std::string const front = name.empty() ? name : name + ".";
        for (SettingsPtr const& child : tree_.childrenOf(node))
            open.emplace_back(front + child->getName(), child);
    }
    return nodes;
}

std::vector<Finding> TextReview::ofProduct(SettingsPtr const& product, bool isWhole) {
    std::string const name = product->getName();
    std::vector<Finding> findings;
    Nodes nodes;
    for (qf::ustring const& file : Directories::filesIn(directories_.factoryFolder(name))) {
        auto const parts = texts::parseTextsFileName(nameOfFile(file));
        if (!parts) continue;
        std::string const unread = whyUnread(*parts, name);
        if (!unread.empty()) {
            findings.push_back({{file, unread}, "texts-unread"});
            continue;
        }
        TextsFileReview review(file, name);
        review.reviewWords();
        if (isWhole && nodes.empty()) nodes = nodesOf(product);
        if (isWhole) review.reviewNames(nodes);
        findings.insert(findings.end(), review.findings().begin(), review.findings().end());
    }
    return findings;
}

std::vector<Finding> TextReview::ofMissing(SettingsPtr const& product) {
    std::string const name = product->getName();
    if (directories_.factoryFiles(name).empty()) return {};  // The user's own.
    fs::path const folder = directories_.factoryFolder(name);
    qf::ustring const file = (folder / qf::i18n::to_ustring(texts::textsFileName(name, {}))).str();
    if (!fs::exists(file))
        return {Finding{
            {file, "is not there: no text says what the keys of " + inQuotes(name) + " are for"},
            "texts-missing"}};
    texts::ProductTexts told = textsOfProduct(directories_, name);
    std::vector<Finding> findings;
    for (auto const& [below, node] : nodesOf(product)) {
        if (!node->isLeafNode() || !told.of(below).summary.empty()) continue;
        findings.push_back(
            {{file, node->getFullName() + ": has no summary", 0, 0, node->getFullName()},
             "texts-missing"});
    }
    return findings;
}

std::vector<Finding> TextReview::ofFile(qf::ustring const& file) {
    auto const name = texts::parseTextsFileName(nameOfFile(file));
    TextsFileReview review(file, name ? name->product : std::string());
    review.reviewWords();
    bool const isInPlace =
        name && fs::path(file).parent_path().str() == directories_.factoryFolder(name->product);
    SettingsPtr const product = isInPlace ? tree_.root()->getChild(name->product) : SettingsPtr();
    if (product && product->getName() == name->product) {
        Nodes const nodes = nodesOf(product);
        if (tree_.faults().empty()) review.reviewNames(nodes);
    }
    return review.findings();
}

}  // namespace qbsettings
