// What the operations of a node that write it hand over.

#include <settingscore/persistence/writer/TreeWriter.hpp>

namespace settings::core {

using detail::HeldLock;

void SettingsImpl::saveSelf(HeldLock const& lock, SaveWalk& walk, unsigned long depth,
                            std::string const& level) const {
    TreeWriter(lock, level).saveSelf(*this, walk, depth);
}

void SettingsImpl::saveAll(HeldLock const& lock, std::ostream& stream, unsigned long depth,
                           std::string const& level) const {
    TreeWriter(lock, level).saveAll(*this, stream, depth);
}

void SettingsImpl::writeOpenTag(HeldLock const& lock, SaveWalk& walk, unsigned long depth) const {
    TreeWriter(lock, std::string()).writeOpenTag(*this, walk, depth);
}

void SettingsImpl::writeParentCloseTag(HeldLock const& lock, SaveWalk& walk,
                                       unsigned long depth) const {
    TreeWriter(lock, std::string()).writeParentCloseTag(*this, walk, depth);
}

void SettingsImpl::writeKeyContent(HeldLock const& lock, std::ostream& stream, unsigned long depth,
                                   std::string const& level) const {
    TreeWriter(lock, level).writeKeyContent(*this, stream, depth);
}

bool SettingsImpl::shouldWriteRules(HeldLock const& lock, std::string const& level) const {
    return TreeWriter(lock, level).shouldWriteRules(*this);
}

}  // namespace settings::core
