#pragma once

#include <iosfwd>
#include <string>

#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>

namespace settings::core {

class SettingsImpl;

/// Carries a held shared lock of the tree into the writer. It must not outlive that lock.
class SaveSettingsFunctor {
public:
    explicit SaveSettingsFunctor(boost::shared_lock<boost::shared_mutex> const& lock)
        : lock_(lock) {}
    /// Writes this text, which was made before, in place of what it is asked for.
    SaveSettingsFunctor(boost::shared_lock<boost::shared_mutex> const& lock,
                        std::string const& text)
        : lock_(lock), text_(&text) {}

    /// Writes `obj` with all below it and the tags of the groups above it: a whole file. Every key
    /// is written, with the values of `level` alone; with the level "" the values in force, and no
    /// validators of keys. The stream is not tested: a failed one swallows what is written.
    /// @throws exception::UnSupportedLevel
    void operator()(boost::shared_ptr<SettingsImpl const> const& obj, std::ostream& stream,
                    std::string const& level) const;
    boost::shared_lock<boost::shared_mutex> const& lock() const { return lock_; }

private:
    boost::shared_lock<boost::shared_mutex> const& lock_;
    std::string const* text_ = nullptr;
};

}  // namespace settings::core
