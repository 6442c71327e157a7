#include <settingscore/persistence/ProductLoader.hpp>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/shared/Agreements.hpp>
#include <settingscore/persistence/shared/SharedSaves.hpp>
#include <settingscore/tree/MergeEngine.hpp>
#include <settingscore/tree/NodeBuilder.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/TreeRoot.hpp>

namespace settings::core {

using detail::MergeEngine;
using detail::NodeView;

ProductLoader::ProductLoader(std::string const& product, boost::shared_ptr<TreeRoot const> root,
                             ustring& errors)
    : name_(product),
      merged_(boost::make_shared<SettingsImpl>(product, false, boost::none)),
      root_(std::move(root)),
      errors_(errors) {}

void ProductLoader::readAll(bool withStamp) {
    auto const& levels = SettingsLevelManager::levels();
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        if (level->canHaveFile() && level->canBeModified()) {
            readUser(*level, withStamp);
            continue;
        }
        for (Path const& file : SettingsFile::getAllSettingsFileForProduct(name_, &*level, root_)) {
            isAnyFileThere_ = true;
            std::size_t const errorsBefore = errors_.size();
            read(file, *level);
            if (errors_.size() == errorsBefore) ++factoryFiles_;
        }
    }
}

void ProductLoader::readUser(SettingsLevel const& level, bool withStamp) {
    Path const file = SettingsFile::userFileOf(name_, &level, root_);
    std::optional<FileStamp> before;
    if (withStamp) {
        try {
            before = FileStamp::of(file);
        } catch (qf::filesystem::FsysExceptionBase const&) {
            // The load tells, if it has anything to tell.
        }
    }
    bool mayPass = false;
    auto const files = SettingsFile::getAllSettingsFileForProduct(name_, &level, root_);
    if (files.empty()) UnreadFiles::setRead(root_, file);
    for (Path const& found : files) {
        isAnyFileThere_ = true;
        std::size_t const errorsBefore = errors_.size();
        std::optional<UnreadFiles::Passing> const passing = read(found, level);
        if (errors_.size() == errorsBefore) {
            UnreadFiles::setRead(root_, found);
        } else {
            UnreadFiles::setUnread(root_, found, passing);
            userFault_ += errors_.substr(errorsBefore);
            mayPass = mayPass || passing;
        }
    }
    if (!before || mayPass) return;
    try {
        if (FileStamp::of(file) == *before) userStamp_ = before;
    } catch (qf::filesystem::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
    }
}

std::optional<UnreadFiles::Passing> ProductLoader::read(Path const& file,
                                                        SettingsLevel const& level) {
    try {
        auto const object = SettingsFile::loadSettingsObject(file);
        if (object) fold(object, file, level);
    } catch (exception::ErrorReadingSettingsData const& e) {
        report(file, e.getDetailErrorMsg());
        return UnreadFiles::passing(e, file);
    } catch (qf::except::IMsgIDException const& e) {
        report(file, e.GetUnicodeMessageTxt());
    } catch (std::exception const& e) {
        report(file, qf::i18n::to_ustring(e.what()));
        return UnreadFiles::passing(e, file);
    }
    return std::nullopt;
}

void ProductLoader::fold(boost::shared_ptr<SettingsImpl> const& object, Path const& file,
                         SettingsLevel const& level) {
    // A product does not take the validator of its own element over, so that no set is judged
    // by it; what a set accepts, a load has to accept.
    detail::NodeBuilder(*object).setValidator(Validator());
    if (isFirstRead_) {
        merged_ = MergeEngine::foldFile(merged_, object, level, false, errors_, file.str()).result;
    } else {
        MergeEngine::takeFirstFile(*merged_, *object, level);
        merged_ = object;
        isFirstRead_ = true;
    }
}

void ProductLoader::report(Path const& file, ustring const& text) {
    errors_ += file.str() + u'\t' + text + u'\n';
}

void SettingsImpl::loadSettingsOnce(ustring& errors) {
    boost::shared_ptr<TreeRoot const> root;
    {
        detail::SharedTreeLock const lock;
        NodeView const view(*this, lock);
        if (!view.isTopLevel()) return;
        root = view.root();
    }
    // On the thread that loads: no other one looks at the content of the product before the end.
    std::string const& name = content_.name;
    bool const isShared = SharedSaves::areOn();
    ProductLoader loader(name, root, errors);
    loader.readAll(isShared);
    if (boost::shared_ptr<SettingsImpl> const merged = loader.result()) acceptChildren(*merged);
    if (isShared && root)
        Agreements::loaded(shared_from_this(), loader.userStamp(), loader.factoryFiles());
    if (loader.result()) return;
    // Made in memory, there is nothing to load; or the lines say why nothing could be.
    if (content_.visible || loader.isAnyFileThere()) return;
    errors += u"There is no Settings files associated with this product node: " +
              qf::i18n::to_ustring(name) +
              u". The Settings files may be deleted after ZENBAR started up. Please restart "
              u"ZENBAR to fully solve this issue." +
              u'\n';
}

}  // namespace settings::core
