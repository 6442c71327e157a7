#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <boost/shared_ptr.hpp>
#include <settingscore/persistence/shared/Agreements.hpp>
#include <settingscore/tree/LevelAdoption.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

class TreeRoot;

/// Brings one product up to date, in as many tries as it takes.
class ProductUpdate {
public:
    enum class Gone { stays, goes };  ///< What becomes of a product without any file.
    ProductUpdate(SettingsImpl& product, detail::LevelAdoption::Kept kept, Gone gone)
        : product_(product.shared_from_this()), kept_(std::move(kept)), gone_(gone) {}

    /// True if what was changed since can be found out.
    bool hasImage() const { return known_ && known_->image; }
    /// False if nobody has noted anything that is to be told.
    bool mayReport() const { return !known_ || !wasCurrent_ || !known_->report.empty(); }
    /// Number of the nodes that changed.
    std::size_t run();

    /// Takes a product out of its tree, with its event.
    static std::size_t remove(detail::UpgradeTreeLock& lock,
                              boost::shared_ptr<SettingsImpl> const& product);

private:
    bool isCurrent();

    std::string place();

    /// A file in which others changed values alone, the usual case, says all by itself: the
    /// factory's files are not read. @return false if that is not to be known
    bool readUserFileAlone();

    void readFiles();

    /// Nothing if the file or what is known of it changed meanwhile.
    std::optional<std::size_t> takeIn(detail::UpgradeTreeLock& lock);

    /// The mode was turned on, or the product made, when memory and file had no agreement: what is
    /// otherwise in memory counts as changed here.
    bool isAgreedWithFile(detail::HeldLock const&) const;

    Agreement agreed(detail::LevelAdoption const& adoption,
                     std::shared_ptr<FileImage const> const& image) const;

    std::shared_ptr<FileImage const> imageAfter(detail::HeldLock const& lock,
                                                detail::LevelAdoption const& adoption) const;

    boost::shared_ptr<SettingsImpl> const product_;
    detail::LevelAdoption::Kept const kept_;
    Gone const gone_;
    boost::shared_ptr<TreeRoot const> root_;
    std::optional<Agreement> known_;
    bool wasCurrent_ = false;
    bool isAnyFileThere_ = false;
    bool isWhole_ = false;  ///< The copy is what a load gives, and not the user file alone.
    bool needsAllFiles_ = false;
    std::size_t factoryFiles_ = 0;
    boost::shared_ptr<SettingsImpl> copy_;
    std::optional<FileStamp> stamp_;
    ustring fault_;
};

}  // namespace settings::core
