#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/generate/KeyHeader.hpp>
#include <qbsettings/output/OutputFile.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/NodeTexts.hpp>
#include <qbsettings/store/SettingsFiles.hpp>
#include <qbsettings/store/TemporaryFolder.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

using settings::core::Settings;

/// `generate`: a C++ header of typed keys.
class GenerateCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(source_, "Product, or a settings file: a word with '/' or '.settings'");
        options.text("--namespace", namespace_, Options::Is::optional, "NAMESPACE",
                     "Namespace around that of the product, such as app::settings");
        options.text("--to", to_, Options::Is::optional, "FILE",
                     "File to write or replace; standard output if absent");
        options.json();
    }

    int run(Context& context) override {
        checkNamespace();
        std::ostringstream header;
        if (isFile()) {
            SettingsPtr const product = readSettingsFile(source_);
            texts::ProductTexts texts(folderOfSource(), product->getName(), {});
            KeyHeader(context.tree, texts, header).write(product, namespace_);
        } else {
            // What the user has set or added is no part of the definition.
            TemporaryFolder const nobody;
            context.directories.saveIn(nobody.path());
            SettingsPtr const product = productOfThatName(context);
            texts::ProductTexts texts = textsOfProduct(context.directories, product->getName());
            KeyHeader(context.tree, texts, header).write(product, namespace_);
            if (!context.tree.faults().empty()) {
                throw Failure(
                    "nothing was generated, because the settings could not be read completely");
            }
        }
        put(context, header.str());
        return done;
    }

private:
    bool isFile() const {
        std::string const& extension = Settings::settingsExtension;
        return source_.find('/') != std::string::npos ||
               (source_.size() > extension.size() &&
                source_.compare(source_.size() - extension.size(), extension.size(), extension) ==
                    0);
    }

    std::string folderOfSource() const {
        std::size_t const end = source_.rfind('/');
        return end == std::string::npos ? "." : source_.substr(0, std::max<std::size_t>(end, 1));
    }

    SettingsPtr productOfThatName(Context& context) const {
        SettingsPtr const node = findGroup(context.tree, source_);
        if (!node->getParent() || !node->getParent()->isRoot())
            throw Failure(wrongUsage, inQuotes(source_) + " is a group; name its product");
        return node;
    }

    void checkNamespace() const {
        if (namespace_.empty()) return;
        for (std::size_t begin = 0; begin <= namespace_.size();) {
            std::size_t const end = std::min(namespace_.find("::", begin), namespace_.size());
            std::string const part = namespace_.substr(begin, end - begin);
            // A namespace of others may be the one that is wanted, a keyword cannot.
            if (!isIdentifier(part) && part != "settings")
                throw Failure(wrongUsage, inQuotes(namespace_) + " is no name of a namespace");
            begin = end + 2;
        }
    }

    void put(Context& context, std::string const& header) const {
        context.output.beginRecord();
        if (to_.empty()) {
            context.output.note("header", header);
            context.output.line(header.substr(0, header.size() - 1));
            return;
        }
        OutputFile file(to_, true);
        std::ofstream stream(qf::filesystem::path(file.path()).native(), std::ios::binary);
        stream << header;
        stream.close();
        if (!stream) throw Failure("cannot write " + to_);
        file.commit();
        context.output.note("written", to_);
    }

    std::string source_;
    std::string namespace_;
    std::string to_;
};

Registration<GenerateCommand> const generateRegistration(
    {43, "generate", "Write a C++ header of typed keys for a product",
     "generate plotter --namespace app --to plotter.hpp"});

}  // namespace

}  // namespace qbsettings
