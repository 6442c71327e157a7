#pragma once

#include <map>
#include <string>
#include <vector>

#include <qbsettings/check/Finding.hpp>
#include <qbsettings/store/Tree.hpp>

namespace qbsettings {

class Directories;

/// What is wrong with the texts beside a product's factory files. None of it costs more than texts.
class TextReview {
public:
    TextReview(Directories const& directories, Tree& tree)
        : directories_(directories), tree_(tree) {}

    /// True for the name of a file of texts, of any product and language.
    static bool isTextsFile(qf::ustring const& file);

    /// All files of texts of a product. Names are looked up if it `isWhole`: those in a factory
    /// file that could not be read are not known.
    std::vector<Finding> ofProduct(SettingsPtr const& product, bool isWhole);
    /// The keys that no text without a language says anything of.
    std::vector<Finding> ofMissing(SettingsPtr const& product);
    /// One file, with its names if it stands in the folder of its product.
    std::vector<Finding> ofFile(qf::ustring const& file);

private:
    /// The nodes below a product by their names below it, and itself by the empty one.
    std::map<std::string, SettingsPtr> nodesOf(SettingsPtr const& product);

    Directories const& directories_;
    Tree& tree_;
};

}  // namespace qbsettings
