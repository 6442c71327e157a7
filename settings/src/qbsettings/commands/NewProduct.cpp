#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/OutputFile.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/SchemaText.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

namespace {

namespace fs = qf::filesystem;

/// What a new product begins with; its name stands as "NAME".
constexpr std::string_view firstFile = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- The settings of the product NAME. 'qbsettings check' tells what is wrong in this file. -->
<settings name="NAME" visible="true" version="1"
          xmlns="urn:quillbyte.zenbar.settings"
          xsi:schemaLocation="urn:quillbyte.zenbar.settings settings.xsd"
          xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">
    <!-- A key: its type, its default, and what it may be. Types: string, bool, int8 to int64, uint8
         to uint64, float, double. -->
    <key name="width" visible="true">
        <double>
            <value>0.5</value>
            <metadata>
                <min>0.1</min>
                <max>5</max>
            </metadata>
        </double>
    </key>
    <!-- One of several texts. -->
    <key name="mode" visible="true">
        <string>
            <value><![CDATA[fast]]></value>
            <metadata>
                <choices><![CDATA[fast]]></choices>
                <choices><![CDATA[careful]]></choices>
            </metadata>
        </string>
    </key>
    <!-- A group, and in it an array: any number of texts, none by default. -->
    <settings name="files" visible="true">
        <key name="recent" visible="true">
            <string minArraySize="0" maxArraySize="0"/>
        </key>
    </settings>
</settings>
)";

std::string withName(std::string_view text, std::string const& name) {
    std::string result(text);
    for (std::size_t at = 0; (at = result.find("NAME", at)) != std::string::npos;)
        result.replace(at, 4, name);
    return result;
}

/// `new-product`: the root of a host with a first product.
class NewProductCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Name of the product");
        options.file(directory_, Options::Is::optional,
                     "Root to make it in, which is made if it is missing; this folder if absent");
        options.json();
    }

    int run(Context& context) override {
        using settings::core::detail::foldedAscii;
        settings::core::ZSettings::validateSettingOrGroupName(name_);
        fs::path const root = fs::absolute(fs::from_native(directory_), fs::path());
        fs::path const products = root / u"toolbox";
        for (std::string const& other : context.directories.foldersIn(products.str())) {
            if (foldedAscii(other) != foldedAscii(name_)) continue;
            throw Failure("there is a product " + inQuotes(other) + " in " +
                          pathText(products.str()) + " already");
        }
        fs::path const schema = root / u"settings" / u"src" / u"settingscore" / u"settings.xsd";
        qf::ustring const name = qf::i18n::to_ustring(name_);
        context.output.beginRecord();
        context.output.list("made");
        if (!fs::exists(schema)) write(context, schema, std::string(schemaText()));
        write(context, products / name / (name + u".settings"), withName(firstFile, name_));
        context.output.line("Try: qbsettings --host-root " + pathText(root.str()) + " list " +
                            name_);
        return done;
    }

private:
    static void write(Context& context, fs::path const& path, std::string const& text) {
        try {
            fs::create_directories(path.parent_path());
        } catch (fs::FileExistsError const&) {  // NOLINT(bugprone-empty-catch): the usual case
        } catch (fs::FsysExceptionBase const& error) {
            throw Failure(pathText(path.parent_path().str()) +
                          " cannot be created: " + error.reason());
        }
        OutputFile file(path.native(), false);
        std::ofstream stream(fs::path(file.path()).native());
        stream << text << std::flush;
        if (!stream) {
            throw Failure(pathText(path.str()) + " cannot be written: " + std::strerror(errno));
        }
        file.commit();
        context.output.line(pathText(path.str()));
        context.output.noteMember("made", pathText(path.str()));
    }

    std::string name_;
    std::string directory_ = ".";
};

Registration<NewProductCommand> const newProductRegistration(
    {43, "new-product", "Make a product to start from: a root, the schema and a commented file",
     "new-product sketch sketches"});

}  // namespace

}  // namespace qbsettings
