// The default loader: fills a product from its files of all levels.

#include <optional>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/UnreadFiles.hpp>
#include <settingscore/tree/MergeEngine.hpp>
#include <settingscore/tree/NodeBuilder.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/TreeRoot.hpp>

namespace settings::core {

using detail::MergeEngine;
using detail::NodeView;

namespace {

/// Collects what the files of one product say in a private tree.
class ProductLoader {
public:
    ProductLoader(boost::shared_ptr<SettingsImpl> empty, boost::shared_ptr<TreeRoot const> root,
                  ustring& errors)
        : merged_(std::move(empty)), root_(std::move(root)), errors_(errors) {}

    void readAll(std::string const& product) {
        auto const& levels = SettingsLevelManager::levels();
        for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
            auto const files = SettingsFile::getAllSettingsFileForProduct(product, &*level, root_);
            if (files.empty() && level->canHaveFile() && level->canBeModified()) {
                ustring const folder = SettingsFile::getRootPathForLevel(&*level, root_);
                UnreadFiles::setRead(root_, SettingsFile::userFile(folder, product));
            }
            for (qf::filesystem::path const& file : files) {
                isAnyFileThere_ = true;
                std::size_t const errorsBefore = errors_.size();
                std::optional<UnreadFiles::Passing> const passing = read(file, *level);
                if (!level->canBeModified()) continue;
                if (errors_.size() == errorsBefore) {
                    UnreadFiles::setRead(root_, file);
                } else {
                    UnreadFiles::setUnread(root_, file, passing);
                }
            }
        }
    }
    /// Null if no file contributed.
    boost::shared_ptr<SettingsImpl> result() const {
        return isFirstRead_ ? merged_ : boost::shared_ptr<SettingsImpl>();
    }
    bool isAnyFileThere() const { return isAnyFileThere_; }

private:
    /// Whatever a file can do wrong costs the contribution of that file alone.
    /// @return what kept the file from being read, if that may pass
    std::optional<UnreadFiles::Passing> read(qf::filesystem::path const& file,
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

    void fold(boost::shared_ptr<SettingsImpl> const& object, qf::filesystem::path const& file,
              SettingsLevel const& level) {
        // A product does not take the validator of its own element over, so that no set is judged
        // by it; what a set accepts, a load has to accept.
        detail::NodeBuilder(*object).setValidator(Validator());
        if (isFirstRead_) {
            merged_ =
                MergeEngine::foldFile(merged_, object, level, false, errors_, file.str()).result;
        } else {
            MergeEngine::takeFirstFile(*merged_, *object, level);
            merged_ = object;
            isFirstRead_ = true;
        }
    }

    void report(qf::filesystem::path const& file, ustring const& text) {
        errors_ += file.str() + u'\t' + text + u'\n';
    }

    boost::shared_ptr<SettingsImpl> merged_;
    boost::shared_ptr<TreeRoot const> root_;
    ustring& errors_;
    bool isFirstRead_ = false;
    bool isAnyFileThere_ = false;
};

}  // namespace

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
    ProductLoader loader(boost::make_shared<SettingsImpl>(name, content_.isLeaf, boost::none), root,
                         errors);
    loader.readAll(name);
    if (boost::shared_ptr<SettingsImpl> const merged = loader.result()) {
        acceptChildren(*merged);
        return;
    }
    // Made in memory, there is nothing to load; or the lines say why nothing could be.
    if (content_.visible || loader.isAnyFileThere()) return;
    errors += u"There is no Settings files associated with this product node: " +
              qf::i18n::to_ustring(name) +
              u". The Settings files may be deleted after ZENBAR started up. Please restart "
              u"ZENBAR to fully solve this issue." +
              u'\n';
}

}  // namespace settings::core
