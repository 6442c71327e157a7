#pragma once

#include <string>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/tree/KeyRules.hpp>
#include <settingscore/tree/LevelAdoption.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// The replaceable loader and saver of the process, and the way from the tree to the files, of
/// which the tree knows nothing: the layer that has them puts its functions in when the library is
/// loaded. Without them nodes work in memory, nothing is loaded, and nothing is saved. What can be
/// replaced is guarded by a mutex of its own, which is never held while anything is called.
class LoadAndSave {
public:
    using Saver = void (*)(SettingsLevel const*, boost::shared_ptr<SettingsImpl> const&,
                           SaveSettingsFunctor const&);
    /// What the layer of the files does for the tree.
    struct Files {
        /// The default loader.
        void (*load)(SettingsImpl* product, ustring& errors);
        /// The default saver.
        Saver save;
        /// Calls a saver for a node, with the lock of the caller.
        void (*callSaver)(SettingsImpl::SaveFunc const& saver, SettingsLevel const& level,
                          boost::shared_ptr<SettingsImpl> const& node, SharedTreeLock const& lock);
        /// Removes the file of a product that has left the tree.
        void (*deleteFile)(SettingsLevel const& level, std::string const& product);
        /// Writes the values of a key that takes its type from `first`.
        ValueWriterFcn (*writerFor)(boost::any const& first);
    };

    static void setFiles(Files const& files);

    /// What several processes that share files want done. Nothing by default.
    struct Sharing {
        /// Takes in what others wrote to a product before it is changed. The nodes stay, whatever
        /// they wrote. Called without a lock of the tree.
        void (*bringUpToDate)(SettingsImpl& product, LevelAdoption::Kept const& kept) = nullptr;
        /// Told of a product that has left its tree. Called under whatever lock.
        void (*leftTree)(boost::shared_ptr<SettingsImpl const> const& product) = nullptr;
    };
    static void setSharing(Sharing const& sharing);
    /// To be called before the lock is taken for a change of the products to which the nodes
    /// belong; a product or node that is not on a tree is left alone.
    static void bringUpToDate(LevelAdoption::Kept const& nodes);
    static void productLeft(boost::shared_ptr<SettingsImpl const> const& product);
    /// True if files are shared: what one operation changes is then saved together at its end.
    static bool isShared();

    static void setLoader(SettingsImpl::LoadFunc const& loader);
    static void setSaver(SettingsImpl::SaveFunc const& saver);
    static void setDefaultSaver();

    static void load(SettingsImpl& node, ustring& errors);
    /// Saves the product of `node`. Nothing of this checks whether there is something to save.
    static void save(SettingsLevel const& level, boost::shared_ptr<SettingsImpl> const& node,
                     SharedTreeLock const& lock);
    /// The same for a change of `node` that was made: takes the lock shared, and does nothing for a
    /// node off the tree.
    static void saveChange(SettingsLevel const& level, SettingsImpl& node);
    /// True if the saver is the library's own, which does nothing on a level without files.
    static bool saverIsDefault();
    static void deleteFile(SettingsLevel const& level, std::string const& product);
    /// Null if there is none.
    static ValueWriterFcn writerFor(boost::any const& first);
};

}  // namespace settings::core::detail
