#include <settingscore/persistence/shared/Present.hpp>

#include <algorithm>
#include <memory>

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/shared/Agreements.hpp>
#include <settingscore/persistence/shared/ProductUpdate.hpp>
#include <settingscore/persistence/shared/Rendering.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/TreeRoot.hpp>

namespace settings::core {

using detail::LevelAdoption;
using detail::NodeView;
using detail::SharedTreeLock;
using detail::UpgradeTreeLock;

namespace {

bool hasFiles(std::string const& product, boost::shared_ptr<TreeRoot const> const& root) {
    auto const& levels = SettingsLevelManager::levels();
    return std::any_of(levels.begin(), levels.end(), [&](SettingsLevel const& one) {
        return !SettingsFile::getAllSettingsFileForProduct(product, &one, root).empty();
    });
}

}  // namespace

void Present::bringUpToDate(SettingsImpl& product, LevelAdoption::Kept const& kept) {
    ProductUpdate update(product, kept, ProductUpdate::Gone::stays);
    if (update.run() == 0 && update.hasImage()) return;
    boost::shared_ptr<SettingsImpl const> const node = product.shared_from_this();
    for (;;) {
        auto const known = Agreements::find(node);
        if (!known || known->image) return;
        // From here on it may be changed.
        std::shared_ptr<FileImage const> image;
        {
            SharedTreeLock const lock;
            image = std::make_shared<FileImage>(
                Rendering(lock, product, SettingsLevelManager::userLevel()).image);
        }
        if (Agreements::setImage(node, known->version, std::move(image))) return;
    }
}

Present::Taken Present::refresh(SettingsImpl& product) {
    Taken taken;
    ProductUpdate update(product, {}, ProductUpdate::Gone::goes);
    taken.changedNodes = update.run();
    if (update.mayReport()) taken.report = Agreements::takeReport(product.shared_from_this());
    return taken;
}

std::size_t Present::removeIfGone(SettingsImpl& product) {
    boost::shared_ptr<TreeRoot const> root;
    {
        SharedTreeLock const lock;
        NodeView const view(product, lock);
        root = view.isTopLevel() ? view.root() : nullptr;
    }
    if (!root || hasFiles(product.getName(), root)) return 0;
    // A folder that cannot be listed at this time is no folder without files.
    auto const* const factory = &SettingsLevelManager::levels().back();
    ustring const folder = SettingsFile::getRootPathForLevel(factory, root);
    if (!folder.empty() &&
        FileStamp::of(qf::filesystem::path(folder) / qf::i18n::to_ustring(product.getName()))
            .exists) {
        return 0;
    }
    UpgradeTreeLock lock;
    // Perhaps somebody has loaded it, or put it elsewhere, meanwhile.
    if (!NodeView(product, lock).isTopLevel() || !product.contentInternal().isPending()) return 0;
    return ProductUpdate::remove(lock, product.shared_from_this());
}

std::size_t Present::addProduct(boost::shared_ptr<TreeRoot> const& root, std::string const& name) {
    UpgradeTreeLock lock;
    NodeView const view(*root, lock);
    if (view.child(name)) return 0;
    // Perhaps it was removed here since the directory was listed.
    if (!FileStamp::of(SettingsFile::userFileOf(name, &SettingsLevelManager::userLevel(), root))
             .exists)
        return 0;
    auto const product = boost::make_shared<SettingsImpl>(name, false, boost::none);
    try {
        detail::ExclusiveTreeLock const exclusive(lock.get());
        product->setParentInternal(root);
    } catch (exception::ErrorAddingTopLevelNode const&) {
        return 0;
    }
    detail::fireNodeEvent<SettingsAddNodeEvent>(*root, lock, product);
    return 1;
}

}  // namespace settings::core
