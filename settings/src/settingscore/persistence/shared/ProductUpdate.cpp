#include <settingscore/persistence/shared/ProductUpdate.hpp>

#include <exception>
#include <memory>
#include <optional>

#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/ProductLoader.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/UnreadFiles.hpp>
#include <settingscore/persistence/shared/Rendering.hpp>
#include <settingscore/tree/MergeEngine.hpp>
#include <settingscore/tree/NodeEdits.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/TreeRoot.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::LevelAdoption;
using detail::NodeView;
using detail::PathHash;
using detail::SharedTreeLock;
using detail::UpgradeTreeLock;

namespace {

SettingsLevel const& level() { return SettingsLevelManager::userLevel(); }

/// Found by comparing what a save would write with what memory held at the last agreement. Without
/// an image nothing has changed since.
class ChangesSince : public LevelAdoption::Changes {
public:
    ChangesSince(HeldLock const& lock, FileImage const* image) : lock_(lock), image_(image) {}

    bool isChanged(SettingsImpl const& node, PathHash path) const override {
        return image_ && image_->find(path) != contentOf(lock_, node, level());
    }
    bool isRemoved(PathHash path) const override { return image_ && image_->find(path); }

private:
    HeldLock lock_;
    FileImage const* image_;
};

}  // namespace

std::size_t ProductUpdate::run() {
    {
        SharedTreeLock const lock;
        NodeView const view(*product_, lock);
        bool const isLoaded = !product_->contentInternal().isPending();
        root_ = view.isTopLevel() && isLoaded ? view.root() : nullptr;
    }
    if (!root_ || !root_->isInUse()) return 0;
    // A tree that others change without end is read once more where nobody comes between.
    constexpr int triesWithoutLock = 3;
    for (int i = 0; i < triesWithoutLock; ++i) {
        wasCurrent_ = isCurrent();
        if (wasCurrent_) return 0;
        readFiles();
        UpgradeTreeLock lock;
        if (std::optional<std::size_t> const count = takeIn(lock)) return *count;
    }
    UpgradeTreeLock lock;
    if (isCurrent()) return 0;
    needsAllFiles_ = true;
    readFiles();
    return takeIn(lock).value_or(0);
}

bool ProductUpdate::isCurrent() {
    known_ = Agreements::find(product_);
    if (known_ && known_->place &&
        known_->place->directory != SettingsFile::getRootPathForLevel(&level(), root_)) {
        // The user's files are elsewhere now: nothing is agreed with those.
        Agreements::forget(product_);
        known_.reset();
    }
    if (!known_ || !known_->stamp) return false;
    try {
        return FileStamp::of(place()) == *known_->stamp;
    } catch (qf::filesystem::FsysExceptionBase const&) {
        return true;  // Whoever reads or writes it tells.
    }
}

std::string ProductUpdate::place() {
    ustring const directory = SettingsFile::getRootPathForLevel(&level(), root_);
    if (known_->place && known_->place->directory == directory) return known_->place->native;
    auto const file = SettingsFile::userFileOf(product_->getName(), &level(), root_);
    auto const place = std::make_shared<FilePlace>(FilePlace{directory, file.native()});
    Agreements::setPlace(product_, place);
    return place->native;
}

bool ProductUpdate::readUserFileAlone() {
    if (!known_ || !known_->stamp || needsAllFiles_) return false;
    try {
        auto const file = SettingsFile::userFileOf(product_->getName(), &level(), root_);
        FileStamp const before = FileStamp::of(file);
        if (!before.exists) return false;
        copy_ = SettingsFile::loadSettingsObject(file);
        if (!copy_ || FileStamp::of(file) != before) return false;
        auto const empty =
            boost::make_shared<SettingsImpl>(product_->getName(), false, boost::none);
        detail::MergeEngine::takeFirstFile(*empty, *copy_, level());
        if (copy_->getName() != product_->getName()) return false;
        UnreadFiles::setRead(root_, file);
        isAnyFileThere_ = true;
        stamp_ = before;
        fault_.clear();
        return true;
    } catch (std::exception const&) {
        return false;  // The load says what is wrong.
    }
}

void ProductUpdate::readFiles() {
    isWhole_ = !readUserFileAlone();
    if (!isWhole_) return;
    ustring errors;
    ProductLoader loader(product_->getName(), root_, errors);
    loader.readAll(true);
    copy_ = loader.result();
    isAnyFileThere_ = loader.isAnyFileThere();
    stamp_ = loader.userStamp();
    fault_ = loader.userFault();
    factoryFiles_ = loader.factoryFiles();
}

std::optional<std::size_t> ProductUpdate::takeIn(UpgradeTreeLock& lock) {
    unsigned long const version = known_ ? known_->version : 0;
    NodeView const view(*product_, lock);
    if (!view.isTopLevel()) return 0;
    if (!copy_) copy_ = boost::make_shared<SettingsImpl>(view.name(), false, boost::none);
    if (!known_) return isAgreedWithFile(lock) ? std::optional<std::size_t>(0) : std::nullopt;
    if (!fault_.empty()) {
        // Nothing comes from such a file; memory stays as it is. Of one that cannot be read at
        // this time the version is not known.
        bool const isNew = stamp_ || fault_ != known_->lastReport;
        Agreements::replace(product_, version,
                            {stamp_, known_->image, 0, isNew ? fault_ : ustring(), fault_});
        return 0;
    }
    // What defines the product cannot be read at this time: without it nodes would seem to have
    // gone. A save merges meanwhile.
    if (isWhole_ && factoryFiles_ < known_->factoryFiles) return 0;
    ChangesSince const changes(lock, known_->image.get());
    LevelAdoption adoption(lock, level(), changes, kept_);
    bool const isGone = known_->hadFile && known_->factoryFiles == 0 && !isAnyFileThere_;
    if (gone_ == Gone::goes && isGone && adoption.canGo(*product_)) {
        auto const now = Agreements::find(product_);
        if (!now || now->version != version) return std::nullopt;
        return remove(lock, product_);
    }
    adoption.plan(*product_, *copy_);
    if (!isWhole_ && !adoption.isOfCheckedValuesAlone()) {
        needsAllFiles_ = true;
        return std::nullopt;
    }
    if (adoption.isEmpty()) {
        bool const isDone = Agreements::replace(product_, version, agreed(adoption, known_->image));
        return isDone ? std::optional<std::size_t>(0) : std::nullopt;
    }
    {
        // No save runs beside it, as all hold the tree shared: memory and what is known of the
        // file change together.
        detail::ExclusiveTreeLock const exclusive(lock.get());
        auto const now = Agreements::find(product_);
        if (!now || now->version != version) return std::nullopt;
        adoption.carryOut(exclusive);
        Agreements::replace(product_, version, agreed(adoption, imageAfter(exclusive, adoption)));
    }
    adoption.fire();
    return adoption.count();
}

bool ProductUpdate::isAgreedWithFile(HeldLock const&) const {
    auto image = std::make_shared<FileImage>();
    if (copy_) {
        boost::shared_mutex unshared;
        boost::shared_lock<boost::shared_mutex> const own(unshared);
        *image = Rendering(own, *copy_, level()).image;
    }
    Agreement next{stamp_, image, 0, fault_, fault_};
    next.factoryFiles = factoryFiles_;
    return Agreements::replace(product_, 0, next);
}

Agreement ProductUpdate::agreed(LevelAdoption const& adoption,
                                std::shared_ptr<FileImage const> const& image) const {
    Agreement next{stamp_, image};
    next.mustMerge = adoption.isPartial();
    return next;
}

std::shared_ptr<FileImage const> ProductUpdate::imageAfter(HeldLock const& lock,
                                                           LevelAdoption const& adoption) const {
    if (!known_->image) return nullptr;
    std::vector<FileImage::Change> changes;
    changes.reserve(adoption.adopted().size());
    for (LevelAdoption::Adopted const& adopted : adoption.adopted()) {
        std::optional<FileImage::Content> content;
        if (adopted.node) content = contentOf(lock, *adopted.node, level());
        changes.push_back({adopted.path, content});
    }
    return std::make_shared<FileImage>(known_->image->with(std::move(changes)));
}

std::size_t ProductUpdate::remove(UpgradeTreeLock& lock,
                                  boost::shared_ptr<SettingsImpl> const& product) {
    boost::shared_ptr<SettingsImpl> const parent = product->getParentImpl();
    {
        detail::ExclusiveTreeLock const exclusive(lock.get());
        detail::NodeEdits(*parent).leave(product);
    }
    Agreements::forget(product);
    detail::fireNodeEvent<SettingsRemoveNodeEvent>(*parent, lock, product);
    return 1;
}

}  // namespace settings::core
