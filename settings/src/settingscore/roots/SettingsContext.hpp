#pragma once

#include <queue>

#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/host/UString.hpp>

/// @file
/// The library's part in the life of the host's instances, and its version.

namespace settings::core {

class Settings;
class SettingsEvent;
class SettingsImplRoot;
class SettingsRootStateMgr;

/// This library's part in the life of the host's instances, and the gate through which everything
/// finds the root of an instance. Any thread may call any operation.
class SETTINGSCORE_API SettingsContext : public zbutil::contextmgr::ContextBase {
public:
    /// The part in the life of one instance.
    explicit SettingsContext(ZcrID const& id) : zcrID_(id) {}
    ~SettingsContext() override;

    // Called by the registry.
    void init(bool flag) override;     ///< The instance starts.
    void restore() override;           ///< The instance becomes current.
    void save() override;              ///< Does nothing: values were saved as they changed.
    void release(bool flag) override;  ///< The instance ends; its root is detached.

    /// Adds an instance. False, with nothing changed, if it is there already.
    static bool createContext(ZcrID const& id);
    /// Detaches the root of an instance: for that instance there is none from now on.
    static void resetThisZcrID(ZcrID const& id);
    /// Detaches the root of the blessed instance, whatever `id` is, and returns it. With `AnyZcrID`
    /// all instances end, and the next request for the blessed root builds a new one.
    static boost::shared_ptr<Settings> reset(ZcrID const& id);
    /// The registry's answer for `id`.
    static ZcrID getZcrIDInUse(ZcrID const& id);
    /// For the library: what keeps the root of an instance; empty for an unknown one.
    static boost::shared_ptr<SettingsRootStateMgr> getSettingsRootMgrFromMap(ZcrID const& id);
    /// @{
    /// The root of an instance, built at first use; empty for an unknown instance and for one whose
    /// root was detached.
    static boost::shared_ptr<Settings> getSettingsRootByZcrID(ZcrID const& id);
    static boost::shared_ptr<SettingsImplRoot> getSettingsImplRootByZcrID(ZcrID const& id);
    /// @}
    /// Swaps the pending events into `queue`; leaves it alone if there is no root.
    static void getEventQueue(std::queue<boost::shared_ptr<SettingsEvent const>>& queue,
                              ZcrID const& id);
    /// @{
    /// Directories of an instance; empty for an unknown one. See `ZSettings::getUserDir`.
    static ustring getFactoryDir(ZcrID const& id);
    static ustring getWorkgroupDir(ZcrID const& id);
    static ustring getUserDir(ZcrID const& id);
    /// @}
    /// See `ZSettings::setSettingsFileLocation`.
    static void setSettingsDirectories(ZcrID const& id, boost::optional<ustring> const& factory,
                                       boost::optional<ustring> const& workgroup,
                                       boost::optional<ustring> const& user);

private:
    static boost::shared_ptr<SettingsRootStateMgr> managerInUse(ZcrID const& id);
    static void setCurrent(ZcrID const& id);

    ZcrID const zcrID_;
};

/// Registers `SettingsContext` with the host when the library is loaded.
extern SETTINGSCORE_API zbutil::contextmgr::ContextFactory<
    SettingsContext, zbutil::contextmgr::ContextGenerator<SettingsContext>>
    settingsContextFactory;

}  // namespace settings::core

extern "C" {
/// Version of the library, four decimal numbers with dots between them.
extern SETTINGSCORE_API char const* const libqbsettingscore_version;
/// Day of the build, as in "Nov  3 2026".
extern SETTINGSCORE_API char const* const libqbsettingscore_build_date;
}
