#include <settingscore/persistence/shared/Present.hpp>

#include <algorithm>
#include <exception>
#include <memory>
#include <optional>

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/ProductLoader.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/shared/Agreements.hpp>
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

std::size_t removeProduct(UpgradeTreeLock& lock, boost::shared_ptr<SettingsImpl> const& product) {
    boost::shared_ptr<SettingsImpl> const parent = product->getParentImpl();
    {
        detail::ExclusiveTreeLock const exclusive(lock.get());
        detail::NodeEdits(*parent).leave(product);
    }
    Agreements::forget(product);
    detail::fireNodeEvent<SettingsRemoveNodeEvent>(*parent, lock, product);
    return 1;
}

bool hasFiles(std::string const& product, boost::shared_ptr<TreeRoot const> const& root) {
    auto const& levels = SettingsLevelManager::levels();
    return std::any_of(levels.begin(), levels.end(), [&](SettingsLevel const& one) {
        return !SettingsFile::getAllSettingsFileForProduct(product, &one, root).empty();
    });
}

/// Brings one product up to date, in as many tries as it takes.
class Update {
public:
    enum class Gone { stays, goes };  ///< What becomes of a product without any file.
    Update(SettingsImpl& product, LevelAdoption::Kept const& kept, Gone gone)
        : product_(product.shared_from_this()), kept_(kept), gone_(gone) {}

    /// True if what was changed since can be found out.
    bool hasImage() const { return known_ && known_->image; }
    /// False if nobody has noted anything that is to be told.
    bool mayReport() const { return !known_ || !wasCurrent_ || !known_->report.empty(); }
    /// Number of the nodes that changed.
    std::size_t run() {
        {
            SharedTreeLock const lock;
            NodeView const view(*product_, lock);
            root_ = view.isTopLevel() ? view.root() : nullptr;
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

private:
    bool isCurrent() {
        known_ = Agreements::find(product_);
        if (!known_ || !known_->stamp) return false;
        try {
            return FileStamp::of(place()) == *known_->stamp;
        } catch (qf::filesystem::FsysExceptionBase const&) {
            return true;  // Whoever reads or writes it tells.
        }
    }

    std::string place() {
        ustring const directory = SettingsFile::getRootPathForLevel(&level(), root_);
        if (known_->place && known_->place->directory == directory) return known_->place->native;
        auto const file = SettingsFile::userFileOf(product_->getName(), &level(), root_);
        auto const place = std::make_shared<FilePlace>(FilePlace{directory, file.native()});
        Agreements::setPlace(product_, place);
        return place->native;
    }

    /// A file in which others changed values alone, the usual case, says all by itself: the
    /// factory's files are not read. @return false if that is not to be known
    bool readUserFileAlone() {
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
            isAnyFileThere_ = true;
            stamp_ = before;
            fault_.clear();
            return copy_->getName() == product_->getName();
        } catch (std::exception const&) {
            return false;  // The load says what is wrong.
        }
    }

    void readFiles() {
        isWhole_ = !readUserFileAlone();
        if (!isWhole_) return;
        ustring errors;
        ProductLoader loader(product_->getName(), root_, errors);
        loader.readAll(true);
        copy_ = loader.result();
        isAnyFileThere_ = loader.isAnyFileThere();
        stamp_ = loader.userStamp();
        fault_ = loader.userFault();
    }

    /// Nothing if the file or what is known of it changed meanwhile.
    std::optional<std::size_t> takeIn(UpgradeTreeLock& lock) {
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
        ChangesSince const changes(lock, known_->image.get());
        LevelAdoption adoption(lock, level(), changes, kept_);
        bool const hadFile = known_->stamp && known_->stamp->exists;
        if (gone_ == Gone::goes && hadFile && !isAnyFileThere_ && adoption.canGo(*product_)) {
            return removeProduct(lock, product_);
        }
        adoption.plan(*product_, *copy_);
        if (!isWhole_ && !adoption.isOfCheckedValuesAlone()) {
            needsAllFiles_ = true;
            return std::nullopt;
        }
        if (adoption.isEmpty()) {
            bool const isDone = Agreements::replace(product_, version, {stamp_, known_->image});
            return isDone ? std::optional<std::size_t>(0) : std::nullopt;
        }
        {
            // No save runs beside it, as all hold the tree shared: memory and what is known of the
            // file change together.
            detail::ExclusiveTreeLock const exclusive(lock.get());
            auto const now = Agreements::find(product_);
            if (!now || now->version != version) return std::nullopt;
            adoption.carryOut(exclusive);
            Agreements::replace(product_, version, {stamp_, imageAfter(exclusive, adoption)});
        }
        adoption.fire();
        return adoption.count();
    }

    /// The mode was turned on, or the product made, when memory and file had no agreement: what is
    /// otherwise in memory counts as changed here.
    bool isAgreedWithFile(HeldLock const&) const {
        auto image = std::make_shared<FileImage>();
        if (copy_) {
            boost::shared_mutex unshared;
            boost::shared_lock<boost::shared_mutex> const own(unshared);
            *image = Rendering(own, *copy_, level()).image;
        }
        return Agreements::replace(product_, 0, {stamp_, image, 0, fault_, fault_});
    }

    std::shared_ptr<FileImage const> imageAfter(HeldLock const& lock,
                                                LevelAdoption const& adoption) const {
        if (!known_->image) return nullptr;
        auto next = std::make_shared<FileImage>(*known_->image);
        for (LevelAdoption::Adopted const& adopted : adoption.adopted()) {
            std::optional<FileImage::Content> content;
            if (adopted.node) content = contentOf(lock, *adopted.node, level());
            next->set(adopted.path, content);
        }
        return next;
    }

    boost::shared_ptr<SettingsImpl> const product_;
    LevelAdoption::Kept const& kept_;
    Gone const gone_;
    boost::shared_ptr<TreeRoot const> root_;
    std::optional<Agreement> known_;
    bool wasCurrent_ = false;
    bool isAnyFileThere_ = false;
    bool isWhole_ = false;  ///< The copy is what a load gives, and not the user file alone.
    bool needsAllFiles_ = false;
    boost::shared_ptr<SettingsImpl> copy_;
    std::optional<FileStamp> stamp_;
    ustring fault_;
};

}  // namespace

void Present::bringUpToDate(SettingsImpl& product, LevelAdoption::Kept const& kept) {
    Update update(product, kept, Update::Gone::stays);
    if (update.run() == 0 && update.hasImage()) return;
    boost::shared_ptr<SettingsImpl const> const node = product.shared_from_this();
    for (;;) {
        auto const known = Agreements::find(node);
        if (!known || known->image) return;
        // From here on it may be changed.
        std::shared_ptr<FileImage const> image;
        {
            SharedTreeLock const lock;
            image = std::make_shared<FileImage>(Rendering(lock, product, level()).image);
        }
        if (Agreements::setImage(node, known->version, std::move(image))) return;
    }
}

Present::Taken Present::refresh(SettingsImpl& product) {
    Taken taken;
    Update update(product, {}, Update::Gone::goes);
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
    UpgradeTreeLock lock;
    // Perhaps somebody has loaded it, or put it elsewhere, meanwhile.
    if (!NodeView(product, lock).isTopLevel() || !product.contentInternal().isPending()) return 0;
    return removeProduct(lock, product.shared_from_this());
}

std::size_t Present::addProduct(boost::shared_ptr<TreeRoot> const& root, std::string const& name) {
    UpgradeTreeLock lock;
    NodeView const view(*root, lock);
    if (view.child(name)) return 0;
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
