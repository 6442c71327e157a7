#pragma once

#include <string>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>

namespace settings::core {
class Settings;
}

namespace settings::core::detail {

/// Turns what a caller gives to a batch into its elements.
template <class Pair>
class NameToObjectTransformer;

/// A node is an element as it stands.
template <>
class NameToObjectTransformer<std::pair<boost::shared_ptr<Settings>, boost::any>> {
public:
    using Element = std::pair<boost::shared_ptr<Settings>, boost::any>;

    NameToObjectTransformer(bool, boost::shared_ptr<Settings const> const&,
                            std::vector<std::pair<std::string, std::string>>*) {}
    Element operator()(Element const& element) const { return element; }
};

/// A name stands for the node at that path below the parent.
template <>
class SETTINGSCORE_API NameToObjectTransformer<std::pair<std::string, boost::any>> {
public:
    using Element = std::pair<boost::shared_ptr<Settings>, boost::any>;

    NameToObjectTransformer(bool throwIfMissing, boost::shared_ptr<Settings const> const& parent,
                            std::vector<std::pair<std::string, std::string>>* errors)
        : throwIfMissing_(throwIfMissing), parent_(parent), errors_(errors) {}
    /// @throws exception::InvalidNodePath for an unknown name, if so asked; otherwise that name is
    ///         reported and its element has no node; std::invalid_argument if there is no parent
    Element operator()(std::pair<std::string, boost::any> const& entry) const;

private:
    bool throwIfMissing_;
    boost::shared_ptr<Settings const> parent_;
    std::vector<std::pair<std::string, std::string>>* errors_;
};

}  // namespace settings::core::detail
