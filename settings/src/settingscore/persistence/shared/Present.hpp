#pragma once

#include <cstddef>
#include <string>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/tree/LevelAdoption.hpp>

namespace settings::core {

class SettingsImpl;
class TreeRoot;

/// Takes into the memory of this process what others wrote to its products' files.
class Present {
public:
    /// What a product's file brought.
    struct Taken {
        std::size_t changedNodes = 0;
        ustring report;  ///< Why nothing of the file was taken; told once for a version of it.
    };

    /// Before a change of the product: nothing but a look at the file if nobody wrote to it. What
    /// keeps the file from being read is noted for `refresh`.
    /// @throws what a listener throws
    static void bringUpToDate(SettingsImpl& product, detail::LevelAdoption::Kept const& kept);
    /// The same for its own sake. A product goes, with its event, if it has no file of any level
    /// any more and holds nothing else.
    static Taken refresh(SettingsImpl& product);
    /// Removes a product that is not loaded, with its event, if there is no file of it at any
    /// level.
    /// @return number of the nodes that went
    static std::size_t removeIfGone(SettingsImpl& product);
    /// Makes a product, to be loaded at its first use, with its event, unless there is one of that
    /// name or one that differs from it in case alone. @return number of the nodes that came
    static std::size_t addProduct(boost::shared_ptr<TreeRoot> const& root, std::string const& name);
};

}  // namespace settings::core
