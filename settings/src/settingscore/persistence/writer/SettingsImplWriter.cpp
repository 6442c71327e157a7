// The writer: from a node and a level to the text of a file. The caller holds the tree lock, and
// nothing here locks or loads.

#include <ostream>

#include <settingscore/persistence/SettingsLevelManager.hpp>
#include <settingscore/persistence/writer/SaveWalk.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using detail::HeldLock;

void SettingsImpl::saveSelf(HeldLock const& lock, SaveWalk& walk, unsigned long depth,
                            std::string const& level) const {
    writeOpenTag(lock, walk, depth);
    if (isLeaf_) {
        writeKeyContent(lock, walk.stream(), depth, level);
    } else {
        auto const save = [&](SettingsImpl const& child) {
            child.saveSelf(lock, walk, depth + 1, level);
        };
        writeSettingsByGroup<FilterLeafNode<true>>(save);
        writeSettingsByGroup<FilterLeafNode<false>>(save);
    }
    if (walk.takeCloseTag(*this)) writeCurrentCloseTag(walk.stream(), depth, isLeaf_);
}

void SettingsImpl::saveAll(HeldLock const& lock, std::ostream& stream, unsigned long depth,
                           std::string const& level) const {
    writeCurrentOpenTag(lock, stream, depth, shared_from_this(),
                        !isLeaf_ && isTopLevelNodeWithLock(lock));
    if (isLeaf_) {
        writeKeyContent(lock, stream, depth, level);
    } else {
        auto const save = [&](SettingsImpl const& child) {
            child.saveAll(lock, stream, depth + 1, level);
        };
        writeSettingsByGroup<FilterLeafNode<true>>(save);
        writeSettingsByGroup<FilterLeafNode<false>>(save);
    }
    writeCurrentCloseTag(stream, depth, isLeaf_);
}

void SettingsImpl::writeOpenTag(HeldLock const& lock, SaveWalk& walk, unsigned long depth) const {
    auto const parent = getParentImpl();
    bool const isTop = !parent || parent->isSettingsTreeRoot();
    if (!isTop) {
        parent->writeOpenTag(lock, walk, depth - 1);
        // Once for each child, whether or not the parent's tag was open already; so an ancestor's
        // line stands again before each key of the groups inside it.
        writeValidator(parent->validator_, walk.stream(), depth);
    }
    if (!walk.isCloseTagPending(*this)) {
        writeCurrentOpenTag(lock, walk.stream(), depth, shared_from_this(), isTop);
        walk.opened(*this);
    }
}

void SettingsImpl::writeParentCloseTag(HeldLock const& lock, SaveWalk& walk,
                                       unsigned long depth) const {
    // Behind a subtree only groups can still be open.
    if (walk.takeCloseTag(*this)) writeCurrentCloseTag(walk.stream(), depth, false);
    if (auto const parent = getParentImpl()) parent->writeParentCloseTag(lock, walk, depth - 1);
}

void SettingsImpl::writeKeyContent(HeldLock const& lock, std::ostream& stream, unsigned long depth,
                                   std::string const& level) const {
    if (shouldWriteRules(lock, level)) writeValidator(validator_, stream, depth + 1);
    if (ValueWriterFcn const writer = getValueWriterFcn()) {
        writer(lock, stream, shared_from_this(), level, depth + 1);
    }
}

bool SettingsImpl::shouldWriteRules(HeldLock const&, std::string const& level) const {
    if (level.empty()) return false;
    // A key that a later level holds has its rules from there.
    SettingsLevel const* const levels = SettingsLevelManager::getSettingsLevelObjs();
    std::size_t index = 0;
    while (index < SettingsLevelManager::levelCount && levels[index].levelName() != level)
        ++index;
    for (++index; index < SettingsLevelManager::levelCount; ++index) {
        if (levelValues_.hasValue(index)) return false;
    }
    return true;
}

}  // namespace settings::core
