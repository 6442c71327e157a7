#include "ProductWorld.hpp"

#include <regex>

using namespace settings::core;
using namespace qbtest;

namespace {

using Nodes = std::vector<boost::shared_ptr<Settings const>>;

class Export : public ProductWorld {
protected:
    Export() {
        installPlot();
        userFile("plot", intKey("width", "6") +
                             groupXml("axes", keyXml("grid", "bool", valueXml("0")) +
                                                  groupXml("ticks", intKey("count", "4"))));
        makeKey("k", 1, alone_);
    }
    ustring target() const { return toUString(targetPath()); }
    std::filesystem::path targetPath() const { return folder() / "out.settings"; }

    std::string exported(Texts const& paths, std::string const& level = "user") const {
        Nodes nodes;
        for (std::string const& path : paths)
            nodes.push_back(nodeAt(path));
        Settings::exportSettings(nodes, target(), level);
        return readFile(targetPath());
    }
    /// The text without line ends and indentation.
    static std::string flat(std::string const& text) {
        return std::regex_replace(text, std::regex("\n *"), "");
    }
    NodePtr const alone_ = makeGroup("alone");
};

TEST_F(Export, WritesTheChosenNodesWithTheirPaths) {
    std::string const width = intKey("width", "6");
    std::string const grid = keyXml("grid", "bool", valueXml("0"));
    std::string const ticks = groupXml("ticks", intKey("count", "4"));
    std::string const axes = groupXml("axes", grid + ticks);
    for (auto const& [paths, text] : std::vector<std::pair<Texts, std::string>>{
             {{"plot.width"}, width},
             {{"plot.axes.grid", "plot.axes"}, axes},
             {{"plot.axes", "plot.axes.grid"}, axes},
             {{"plot.axes.ticks.count", "plot.axes.grid"}, axes},
             {{"plot.axes.grid", "plot.axes.grid"}, groupXml("axes", grid)},
             {{"plot.width", "plot.axes.ticks"}, groupXml("axes", ticks) + width},
         }) {
        EXPECT_EQ(flat(exported(paths)),
                  flat(settingsXml("plot", text, "visible=\"true\" version=\"4\"")));
    }
    // A product is written whole, though nobody touched it before.
    resetInstances();
    EXPECT_NE(flat(exported({"plot"}, "factory")).find(flat(intKey("width", "5"))),
              std::string::npos);
    // Without a level the values in force are written.
    EXPECT_NE(flat(exported({"plot"}, "")).find(flat(width)), std::string::npos);
    Settings::exportSettings({product()}, u"/dev/full", "user");  // In silence.
}

TEST_F(Export, RefusesInOrderAndTouchesNoFile) {
    factoryFile("other", "f.settings", intKey("k", "1"));
    NodePtr const plot = productImpl();
    writeFile(targetPath(), "old");
    ustring const nowhere = toUString(folder() / "none" / "f.settings");
    ustring const relative = u"relative";
    auto const exporting = [](Nodes const& nodes, ustring const& path, char const* level = "user") {
        return ending([&] { Settings::exportSettings(nodes, path, level); });
    };
    auto const making = [](NodePtr const& node, ustring const& path) {
        return ending([&] { Settings::createFactorySettingsFile(node, path, 1); });
    };
    expectThrow<exception::ErrorExportMultipleNodesBelongsToDiffProducts>(
        [&] {
            Settings::exportSettings({plot, nodeAt("other.k")}, relative, "user");
        },
        [](auto const& e) { EXPECT_EQ(e.getProduct1Name() + e.getProduct2Name(), "plotother"); });
    expectThrow<exception::ErrorExportOrImportSettingsUsingRelativePath>(
        [&] { Settings::exportSettings({plot}, relative, "user"); },
        [&](auto const& e) { EXPECT_EQ(e.getRelativePath(), relative); });
    expectThrow<exception::ErrorSaveSettingsDueToFileIOError>(
        [&] {
            Settings::exportSettings({plot, plot}, nowhere, "user");
        },
        [&](auto const& e) { EXPECT_EQ(e.getFileName(), nowhere); });
    EXPECT_EQ(exporting({root()}, relative), "CannotExportSettingsRoot(root)");
    EXPECT_EQ(exporting({alone_}, relative), "CannotExportStandaloneSettings(alone)");
    EXPECT_EQ(exporting({plot}, nowhere, "nonsense"), "UnSupportedLevel(plot, nonsense)");
    EXPECT_THROW(exporting({}, nowhere), std::invalid_argument);
    EXPECT_THROW(exporting({plot, {}}, nowhere), std::invalid_argument);
    EXPECT_EQ(exporting({plot}, toUString(folder())), "ErrorSaveSettingsDueToFileIOError(plot)");
    EXPECT_EQ(making(plot, relative), "ErrorCreateFactoryFileFromATreeNode(plot)");
    EXPECT_THROW(Settings::createFactorySettingsFile(alone_, relative, 1),
                 exception::ErrorExportOrImportSettingsUsingRelativePath);
    EXPECT_EQ(making(alone_, nowhere), "ErrorSaveSettingsDueToFileIOError(alone)");
    EXPECT_THROW(making({}, nowhere), std::invalid_argument);
    EXPECT_THROW(Settings::importAsStandaloneObject(relative),
                 exception::ErrorExportOrImportSettingsUsingRelativePath);
    for (auto const& path : {folder() / "none", targetPath(), folder()})
        EXPECT_THROW(Settings::importAsStandaloneObject(toUString(path)),
                     exception::ErrorReadingSettingsData);
    EXPECT_FALSE(alone_->getVersionNumber());
    EXPECT_EQ(readFile(targetPath()), "old");
    EXPECT_FALSE(std::filesystem::exists("relative"));
}

TEST_F(Export, AFactoryFileHasTheVersionTheValuesInForceAndNoRulesOfKeys) {
    std::string const rule =
        "<validationfunc type='C' packagename='checks' functionname='accept'/>";
    std::string const key = "<key name=\"k\" visible=\"true\">";
    std::string const content = "<int32>" + valueXml("1") + "</int32></key>";
    std::string const others =
        keyXml("r", "double",
               "<runtimedefault type='C' packagename='defaults' functionname='giveDouble'/>") +
        groupXml("g", rule + keyXml("x", "string", valueXml("<![CDATA[t]]>")));
    auto const path =
        writeFile(folder() / "in", settingsXml("made", key + rule + content + others));
    auto const node = Settings::importAsStandaloneObject(toUString(path));
    EXPECT_FALSE(node->getParent());
    EXPECT_EQ(node->getZcrID(), UndefinedZcrID);
    Settings::createFactorySettingsFile(node->getChild("k"), target(), 7);
    EXPECT_EQ(node->getVersionNumber().value_or(0), 7u);
    EXPECT_EQ(flat(readFile(targetPath())),
              flat(settingsXml("made", key + content + others, "visible=\"true\" version=\"7\"")));
}

}  // namespace
