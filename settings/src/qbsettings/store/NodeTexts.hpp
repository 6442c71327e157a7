#pragma once

#include <map>
#include <string>
#include <vector>

#include <qbsettings/store/Tree.hpp>
#include <qbsettings/texts/ProductTexts.hpp>

namespace qbsettings {

class Directories;

/// What people are told of the nodes of the tree, in their language. The files of a product are
/// read when a text of it is asked for.
class NodeTexts {
public:
    explicit NodeTexts(Directories const& directories) : directories_(directories) {}

    texts::Texts of(SettingsPtr const& node);
    /// The same by the full name.
    texts::Texts of(std::string const& fullName);

private:
    Directories const& directories_;
    std::map<std::string, texts::ProductTexts> products_;
};

/// The texts of a product, of no language if none is given; none if there is no factory folder.
texts::ProductTexts textsOfProduct(Directories const& directories, std::string const& product,
                                   std::vector<std::string> const& languages = {});

}  // namespace qbsettings
