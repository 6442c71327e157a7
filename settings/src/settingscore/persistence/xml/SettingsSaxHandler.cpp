#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>

#include <string>
#include <utility>

#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/persistence/xml/XMLTopSettingsNode.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace {

[[noreturn]] void refuse(ustring const& reason) {
    throw exception::ErrorReadingSettingsData(exception::ContentRefused, reason);
}

}  // namespace

SettingsSaxHandler::TopNodesHandlerMap const& SettingsSaxHandler::topNodesHandlerMap() {
    static auto const& topNodesHandlerMap_ = detail::neverDestroyed<TopNodesHandlerMap>(
        TopNodesHandlerMap{{"settings", &XMLTopSettingsNode::createTop}});
    return topNodesHandlerMap_;
}

bool SettingsSaxHandler::popNextPaths(qf::filesystem::path& next) {
    if (nextPaths_.empty()) return false;
    next = nextPaths_.back();
    nextPaths_.pop_back();
    return true;
}

void SettingsSaxHandler::startAgain() {
    nodeStack_.clear();
    parsedSettings_.reset();
    nextPaths_.resize(pathsBefore_);
    textLength_ = 0;
}

void SettingsSaxHandler::startElement(std::string_view name, ElementAttributes const& attributes) {
    textLength_ = 0;
    std::string const tag(name);
    boost::shared_ptr<XMLNode> node;
    if (nodeStack_.empty()) {
        auto const found = topNodesHandlerMap().find(tag);
        if (found == topNodesHandlerMap().end()) {
            refuse(u"Illegal tag encountered at the beginning of the Settings XMLfile");
        }
        node = found->second(attributes, boost::shared_ptr<XMLNode>());
    } else if (nodeStack_.size() >= nestingLimit) {
        refuse(u"The elements of the settings file are nested too deeply");
    } else {
        node = nodeStack_.back()->subNode(tag, attributes);
    }
    nodeStack_.push_back(std::move(node));
}

void SettingsSaxHandler::endElement(std::string_view name) {
    textLength_ = 0;
    if (nodeStack_.empty() || name != nodeStack_.back()->getTagName()) {
        refuse(u"Mismatch in tag hierarchy between parser and node stack");
    }
    boost::shared_ptr<XMLNode> const node = std::move(nodeStack_.back());
    nodeStack_.pop_back();
    if (!nodeStack_.empty()) {
        node->closeTag();
        return;
    }
    auto const& root = static_cast<XMLTopSettingsNode const&>(*node);
    parsedSettings_ = root.getSettings();
    auto const& paths = root.getAdditionalPath();
    nextPaths_.insert(nextPaths_.end(), paths.begin(), paths.end());
}

void SettingsSaxHandler::characters(ustring const& piece) {
    if (nodeStack_.empty()) return;
    textLength_ += piece.size();
    if (textLength_ > textLimit) refuse(u"A text of the settings file is too long");
    nodeStack_.back()->parseText(piece);
}

}  // namespace settings::core
