#include "ProductWorld.hpp"

#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/value/AnyBridge.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

using Nodes = std::vector<boost::shared_ptr<Settings const>>;

class Export : public ProductWorld {
protected:
    Export() {
        installPlot();
        userFile(
            "plot",
            keyXml("width", "int32", valueXml("6")) +
                groupXml("axes", keyXml("grid", "bool", valueXml("0")) +
                                     groupXml("ticks", keyXml("count", "int32", valueXml("4")))));
        resetInstances();
    }
    ustring target() const { return toUString(targetPath()); }
    std::filesystem::path targetPath() const { return folder() / "out.settings"; }

    std::string exported(std::vector<std::string> const& paths,
                         std::string const& level = "user") const {
        Nodes nodes;
        for (std::string const& path : paths)
            nodes.push_back(nodeAt(path));
        Settings::exportSettings(nodes, target(), level);
        return readFile(targetPath());
    }
    static std::string file(std::string const& lines) {
        return Settings::settingsXMLFileHeader +
               "\n<settings name=\"plot\" visible=\"true\" version=\"4\" " +
               Settings::settingsSchemaInfo + ">\n" + lines + "</settings>\n";
    }
};

constexpr char const* axesOpen = "    <settings name=\"axes\" visible=\"true\">\n";
constexpr char const* axesClose = "    </settings>\n";
constexpr char const* width =
    "    <key name=\"width\" visible=\"true\">\n"
    "        <int32>\n"
    "            <value>6</value>\n"
    "        </int32>\n"
    "    </key>\n";
constexpr char const* grid =
    "        <key name=\"grid\" visible=\"true\">\n"
    "            <bool>\n"
    "                <value>0</value>\n"
    "            </bool>\n"
    "        </key>\n";
constexpr char const* ticks =
    "        <settings name=\"ticks\" visible=\"true\">\n"
    "            <key name=\"count\" visible=\"true\">\n"
    "                <int32>\n"
    "                    <value>4</value>\n"
    "                </int32>\n"
    "            </key>\n"
    "        </settings>\n";

TEST_F(Export, WritesTheChosenNodesWithTheirPaths) {
    using Paths = std::vector<std::string>;
    std::string const axes = std::string(axesOpen) + grid + ticks + axesClose;
    struct Case {
        Paths paths;
        std::string text;
    };
    for (Case const& c : std::vector<Case>{
             {{"plot.width"}, width},
             {{"plot.axes"}, axes},
             {{"plot.axes", "plot.axes.grid"}, axes},
             {{"plot.axes.grid", "plot.axes"}, axes},
             {{"plot.axes.ticks", "plot.axes.grid"}, axes},
             {{"plot.axes.grid", "plot.axes.ticks.count"}, axes},
             {{"plot.axes.grid", "plot.axes.grid"}, std::string(axesOpen) + grid + axesClose},
             {{"plot.width", "plot.axes.ticks"}, std::string(axesOpen) + ticks + axesClose + width},
         }) {
        EXPECT_EQ(exported(c.paths), file(c.text)) << c.paths.front();
    }
}

TEST_F(Export, AProductIsWrittenWholeThoughNobodyTouchedItBefore) {
    NodePtr const plot = productImpl();
    Settings::exportSettings({plot}, target(), "factory");
    std::string const text = readFile(targetPath());
    EXPECT_NE(text.find("<value>5</value>"), std::string::npos) << text;
    EXPECT_EQ(text.find("<value>6</value>"), std::string::npos) << text;
    // Without a level the values in force are written.
    EXPECT_NE(exported({"plot"}, "").find("<value>6</value>"), std::string::npos);
    EXPECT_EQ(exported({"plot"}), exported({"plot", "plot.width"}));
}

TEST_F(Export, RefusesInOrderAndTouchesNoFile) {
    factoryFile("other", "f.settings", keyXml("k", "int32", valueXml("1")));
    auto const tree = freshRoot();
    NodePtr const alone = makeGroup("alone");
    NodePtr const plot = productImpl();
    NodePtr const other = productImpl("other");
    writeFile(targetPath(), "old");

    auto const tryExport = [&](Nodes const& nodes, ustring const& path,
                               std::string const& level = "user") {
        Settings::exportSettings(nodes, path, level);
    };
    expectThrow<exception::ErrorExportMultipleNodesBelongsToDiffProducts>(
        [&] {
            tryExport({plot, nodeAt("other.k")}, u"relative");
        },
        [](auto const& e) {
            EXPECT_EQ(e.getProduct1Name(), "plot");
            EXPECT_EQ(e.getProduct2Name(), "other");
            EXPECT_STREQ(e.what(), "The exported node belongs to the different product.");
        });
    expectThrow<exception::CannotExportSettingsRoot>(
        [&] { tryExport({tree}, u"relative"); },
        [&](auto const& e) { EXPECT_EQ(e.getObjectInvovled(), tree); });
    expectThrow<exception::CannotExportStandaloneSettings>(
        [&] { tryExport({alone}, u"relative"); },
        [&](auto const& e) { EXPECT_EQ(e.getObjectInvovled(), alone); });
    expectThrow<exception::ErrorExportOrImportSettingsUsingRelativePath>(
        [&] { tryExport({plot}, u"relative"); },
        [](auto const& e) { EXPECT_EQ(e.getRelativePath(), u"relative"); });
    expectThrow<exception::UnSupportedLevel>([&] { tryExport({plot}, target(), "nonsense"); });
    expectThrow<std::invalid_argument>([&] { tryExport({}, target()); });
    expectThrow<std::invalid_argument>([&] { tryExport({plot, {}}, target()); });
    for (auto const& path : {folder() / "none" / "out.settings", folder()}) {
        expectThrow<exception::ErrorSaveSettingsDueToFileIOError>(
            [&] {
                tryExport({plot, plot}, toUString(path));
            },
            [&](auto const& e) {
                EXPECT_EQ(e.getCausingObject(), plot);
                EXPECT_EQ(e.getFileName(), toUString(path));
            });
    }
    EXPECT_EQ(readFile(targetPath()), "old");
    EXPECT_FALSE(std::filesystem::exists("relative"));
}

TEST_F(Export, AFullDiskIsNotReported) {
    Settings::exportSettings({product()}, u"/dev/full", "user");
}

TEST_F(Export, ImportedIntoAnEmptyUserFolderItGivesTheSameValues) {
    auto const plot = product();
    ustring const title = u"\u20ac & <]]> \"\n\t end";
    plot->setAny("title", title, "user");
    auto const axes = plot->getChild("axes");
    std::map<std::string, boost::any> const values{
        {"doubles", std::vector<double>{0.1, -0.0, 1e300}},
        {"large", 18446744073709551615ull},
        {"none", std::vector<ustring>()},
        {"single", 0.1f},
        {"small", static_cast<signed char>(-128)},
        {"flags", std::vector<bool>{true, false}},
    };
    for (auto const& [name, value] : values) {
        makeKey(name, value, {}, "user")->setParent(axes);
    }
    std::string const text = exported({"plot"});
    EXPECT_EQ(exported({"plot"}), text);
    std::string const userText = readUserFile("plot");

    std::filesystem::remove(userFilePath("plot"));
    resetInstances();
    EXPECT_EQ(valueOf<int>(product(), "width"), 5);
    product()->mergeDescendants(Settings::importAsStandaloneObject(target()), "user");
    EXPECT_EQ(valueOf<ustring>(product(), "title", "user"), title);
    EXPECT_EQ(valueOf<int>(product(), "width", "user"), 6);
    for (auto const& [name, value] : values) {
        boost::any const read = product()->getChild("axes")->getAny(name, "user");
        EXPECT_EQ(read.type(), value.type()) << name;
        EXPECT_TRUE(settingscore::boostany::isEqual(read, value)) << name;
    }
    EXPECT_EQ(exported({"plot"}), text);
    EXPECT_EQ(readUserFile("plot"), userText);
}

TEST_F(Export, ImportsGiveStandaloneTreesOrTheReadersError) {
    expectThrow<exception::ErrorExportOrImportSettingsUsingRelativePath>(
        [&] { Settings::importAsStandaloneObject(u"out.settings"); },
        [](auto const& e) { EXPECT_EQ(e.getRelativePath(), u"out.settings"); });
    exported({"plot.width"});
    auto const node = Settings::importAsStandaloneObject(target());
    EXPECT_FALSE(node->getParent());
    EXPECT_EQ(node->getZcrID(), UndefinedZcrID);
    EXPECT_EQ(valueOf<int>(node, "width", "user"), 6);
    writeFile(folder() / "bad", "text");
    for (auto const& path : {folder() / "none", folder() / "bad", folder()}) {
        EXPECT_THROW(Settings::importAsStandaloneObject(toUString(path)),
                     exception::ErrorReadingSettingsData)
            << path;
    }
}

// --- Factory files ----------------------------------------------------------------------------

TEST_F(Export, AFactoryFileHasTheVersionTheValuesInForceAndNoRulesOfKeys) {
    std::string const rule =
        R"(<validationfunc type="C" packagename="checks" functionname="accept"/>)";
    auto const path =
        writeFile(folder() / "in.settings",
                  settingsXml("made",
                              R"(<key name="k" visible="true">)" + rule + "<int32>" +
                                  valueXml("1") + "</int32></key>" +
                                  keyXml("r", "double",
                                         R"(<runtimedefault type="C" packagename="defaults" )"
                                         R"(functionname="giveDouble"/>)") +
                                  groupXml("g", rule + keyXml("x", "string", valueXml("t"))),
                              "visible=\"true\" version=\"1\""));
    auto const node = Settings::importAsStandaloneObject(toUString(path));
    Settings::createFactorySettingsFile(node->getChild("k"), target(), 7);
    EXPECT_EQ(node->getVersionNumber().value_or(0), 7u);
    EXPECT_EQ(readFile(targetPath()), Settings::settingsXMLFileHeader +
                                          "\n<settings name=\"made\" visible=\"true\" "
                                          "version=\"7\" " +
                                          Settings::settingsSchemaInfo + R"(>
    <key name="k" visible="true">
        <int32>
            <value>1</value>
        </int32>
    </key>
    <key name="r" visible="true">
        <double>
            <runtimedefault type='C' packagename='defaults' functionname='giveDouble'/>
        </double>
    </key>
    <settings name="g" visible="true">
        <validationfunc type='C' packagename='checks' functionname='accept'/>
        <key name="x" visible="true">
            <string>
                <value><![CDATA[t]]></value>
            </string>
        </key>
    </settings>
</settings>
)");
    // Installed, it defines a product.
    writeFile(factoryDir() / "made" / "made.settings", readFile(targetPath()));
    resetInstances();
    EXPECT_EQ(valueOf<int>(product("made"), "k", "factory"), 1);
    EXPECT_EQ(valueOf<double>(product("made"), "r"), 2.5);
    EXPECT_EQ(product("made")->getVersionNumber().value_or(0), 7u);
}

TEST_F(Export, AFactoryFileIsRefused) {
    NodePtr const node = makeGroup("made");
    NodePtr const axes = nodeAt("plot.axes");
    expectThrow<exception::ErrorCreateFactoryFileFromATreeNode>(
        [&] { Settings::createFactorySettingsFile(axes, u"relative", 1); },
        [&](auto const& e) { EXPECT_EQ(e.getObjectInvovled(), axes); });
    expectThrow<exception::ErrorExportOrImportSettingsUsingRelativePath>(
        [&] { Settings::createFactorySettingsFile(node, u"relative", 1); },
        [](auto const& e) { EXPECT_EQ(e.getRelativePath(), u"relative"); });
    ustring const nowhere = toUString(folder() / "none" / "f.settings");
    expectThrow<exception::ErrorSaveSettingsDueToFileIOError>(
        [&] { Settings::createFactorySettingsFile(node, nowhere, 1); },
        [&](auto const& e) {
            EXPECT_EQ(e.getCausingObject(), node);
            EXPECT_EQ(e.getFileName(), nowhere);
        });
    EXPECT_THROW(Settings::createFactorySettingsFile({}, target(), 1), std::invalid_argument);
    EXPECT_FALSE(node->getVersionNumber());
    EXPECT_FALSE(std::filesystem::exists(targetPath()));
}

}  // namespace
