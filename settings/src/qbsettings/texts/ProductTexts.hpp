#pragma once

#include <optional>
#include <string>
#include <vector>

#include <qbsettings/texts/TextsFile.hpp>

namespace qbsettings::texts {

/// Name of the file with the texts of a product: "plotter.texts.json", "plotter.texts.de.json".
std::string textsFileName(std::string const& product, std::string const& language);

/// Where a file of texts belongs.
struct FileName {
    std::string product;
    std::string language;  ///< May be none that is ever asked for.
};
/// Nothing for what is no file of texts.
std::optional<FileName> parseTextsFileName(std::string const& name);

/// The texts of one product, which are read when one of them is asked for.
class ProductTexts {
public:
    /// `folder` are the bytes of the path of the product's factory folder; `languages` come before
    /// the texts of no language.
    ProductTexts(std::string folder, std::string product, std::vector<std::string> languages);

    /// Of the name below the product, empty for the product itself. Each member comes from the most
    /// exact language that has it. A file that is not good has none.
    Texts of(std::string const& name);

private:
    void read();

    std::string folder_;
    std::string product_;
    std::vector<std::string> languages_;
    std::vector<TextsFile> files_;
};

}  // namespace qbsettings::texts
