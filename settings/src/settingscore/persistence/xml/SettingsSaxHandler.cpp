#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>

#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/persistence/xml/XMLTopSettingsNode.hpp>

namespace settings::core {

namespace {

[[noreturn]] void refuse(ustring const& reason) {
    throw exception::ErrorReadingSettingsData(exception::ContentRefused, reason);
}

}  // namespace

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
    ElementKind const kind = elementKind(name);
    if (nodeStack_.depth() > 0) {
        if (nodeStack_.depth() >= nestingLimit) {
            refuse(u"The elements of the settings file are nested too deeply");
        }
        XMLNode& parent = nodeStack_.top();
        nodeStack_.push(kind, [&](XMLNode::Room& room) {
            return parent.subNode(kind, name, attributes, room);
        });
    } else if (kind == ElementKind::settings) {
        nodeStack_.push(kind, [&](XMLNode::Room& room) {
            return root_ = XMLTopSettingsNode::createTop(room, attributes);
        });
    } else {
        refuse(u"Illegal tag encountered at the beginning of the Settings XMLfile");
    }
}

void SettingsSaxHandler::endElement(std::string_view name) {
    textLength_ = 0;
    if (nodeStack_.depth() == 0 || elementKind(name) != nodeStack_.topKind()) {
        refuse(u"Mismatch in tag hierarchy between parser and node stack");
    }
    if (nodeStack_.depth() > 1) {
        nodeStack_.top().closeTag();
    } else {
        parsedSettings_ = root_->getSettings();
        auto const& paths = root_->getAdditionalPath();
        nextPaths_.insert(nextPaths_.end(), paths.begin(), paths.end());
    }
    nodeStack_.pop();
}

void SettingsSaxHandler::characters(ustring const& piece) {
    if (nodeStack_.depth() == 0) return;
    textLength_ += piece.size();
    if (textLength_ > textLimit) refuse(u"A text of the settings file is too long");
    nodeStack_.top().parseText(piece);
}

}  // namespace settings::core
