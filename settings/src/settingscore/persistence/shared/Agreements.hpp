#pragma once

#include <memory>
#include <optional>
#include <string>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/shared/FileImage.hpp>
#include <settingscore/persistence/shared/FileStamp.hpp>

namespace settings::core {

class SettingsImpl;

/// Where the user file of a product is, so that a look at it does not have to make the name anew.
struct FilePlace {
    ustring directory;   ///< The user directory for which this is so.
    std::string native;  ///< The file.
};

/// How a product in memory and its user file stand to each other.
struct Agreement {
    /// The version of the file that memory has taken in whole; nothing if the file holds, or may
    /// hold, what memory lacks.
    std::optional<FileStamp> stamp;
    /// What memory held when the two last agreed: what is otherwise now was changed here. Null as
    /// long as nothing was changed since the load.
    std::shared_ptr<FileImage const> image{};
    /// Another one with each agreement.
    unsigned long version = 0;
    /// Lines of report that nobody has been told yet.
    ustring report{};
    /// What was last reported, so that a fault that stays is not told again and again.
    ustring lastReport{};
    /// Null until somebody looked at the file; outlives the agreement.
    std::shared_ptr<FilePlace const> place{};
};

/// The agreements of all products of the process, in the mode of shared saves. May be called by any
/// thread, under whatever lock; nothing is called with its own mutex held.
class Agreements {
public:
    using Product = boost::shared_ptr<SettingsImpl const>;

    /// The product has just been loaded.
    static void loaded(Product const& product, std::optional<FileStamp> const& stamp);
    /// Nothing for a product that was loaded, or made, without the mode.
    static std::optional<Agreement> find(Product const& product);
    /// Replaces the agreement of that version (0: if there is none); false if there is another one
    /// by now.
    static bool replace(Product const& product, unsigned long version, Agreement next);
    /// The first image of an agreement; false if there is another agreement by now.
    static bool setImage(Product const& product, unsigned long version,
                         std::shared_ptr<FileImage const> image);
    static void setPlace(Product const& product, std::shared_ptr<FilePlace const> place);
    static ustring takeReport(Product const& product);
    static void forget(Product const& product);
    static void forgetAll();
};

}  // namespace settings::core
