#include <regex>

#include <support/ProductWorld.hpp>

using namespace qbtest;

namespace {

using Nodes = std::vector<Parent>;

class Export : public ProductWorld {
protected:
    Export() {
        installPlot();
        userFile("plot", width_ + axes_);
        makeKey("k", 1, alone_);
    }
    std::filesystem::path target() const { return folder() / "out.settings"; }

    /// The text without line ends and indentation.
    static std::string flat(std::string const& text) {
        return std::regex_replace(text, std::regex("\n *"), "");
    }
    std::string const width_ = intKey("width", "6");
    std::string const grid_ = keyXml("grid", "bool", valueXml("0"));
    std::string const ticks_ = groupXml("ticks", intKey("count", "4"));
    std::string const axes_ = groupXml("axes", grid_ + ticks_);
    NodePtr const alone_ = makeGroup("alone");
};

TEST_F(Export, WritesTheChosenNodesWithTheirPaths) {
    for (auto const& [paths, text] : std::vector<std::pair<Texts, std::string>>{
             {{"plot.axes.grid", "plot.axes"}, axes_},
             {{"plot.axes.ticks.count", "plot.axes.grid"}, axes_},
             {{"plot.width", "plot.axes.ticks"}, groupXml("axes", ticks_) + width_},
         }) {
        Nodes nodes;
        for (std::string const& path : paths)
            nodes.push_back(at(path));
        Settings::exportSettings(nodes, toUString(target()), "user");
        EXPECT_EQ(flat(readFile(target())),
                  flat(settingsXml("plot", text, "visible=\"true\" version=\"4\"")));
    }
}

TEST_F(Export, RefusesInOrderAndTouchesNoFile) {
    factoryFile("other", "f.settings", intKey("k", "1"));
    NodePtr const plot = productImpl();
    writeFile(target(), "old");
    ustring const nowhere = u"/no/such/folder/f";
    ustring const relative = u"relative";
    auto const exporting = [](Nodes const& nodes, ustring const& path, char const* level = "user") {
        return ending([&] { Settings::exportSettings(nodes, path, level); });
    };
    auto const making = [](NodePtr const& node, ustring const& path) {
        return ending([&] { Settings::createFactorySettingsFile(node, path, 1); });
    };
    std::string const isRelative = "ErrorExportOrImportSettingsUsingRelativePath(none, relative)";
    EXPECT_EQ(exporting({plot, at("other.k")}, relative),
              "ErrorExportMultipleNodesBelongsToDiffProducts(plot, other)");
    EXPECT_EQ(exporting({root()}, relative), "CannotExportSettingsRoot(root)");
    EXPECT_EQ(exporting({alone_}, relative), "CannotExportStandaloneSettings(alone)");
    EXPECT_EQ(exporting({plot}, relative), isRelative);
    EXPECT_EQ(exporting({plot}, nowhere, "nonsense"), "UnSupportedLevel(plot, nonsense)");
    EXPECT_THROW(exporting({}, nowhere), std::invalid_argument);
    EXPECT_THROW(exporting({plot, {}}, nowhere), std::invalid_argument);
    EXPECT_THROW(making({}, nowhere), std::invalid_argument);
    EXPECT_EQ(exporting({plot, plot}, nowhere),
              "ErrorSaveSettingsDueToFileIOError(plot, /no/such/folder/f)");
    EXPECT_EQ(making(plot, relative), "ErrorCreateFactoryFileFromATreeNode(plot)");
    EXPECT_EQ(making(alone_, relative), isRelative);
    EXPECT_EQ(ending([&] { Settings::importAsStandaloneObject(relative); }), isRelative);
    EXPECT_THROW(Settings::importAsStandaloneObject(nowhere), exception::ErrorReadingSettingsData);
    EXPECT_EQ(readFile(target()), "old");
}

TEST_F(Export, AFactoryFileHasTheVersionTheValuesInForceAndNoRulesOfKeys) {
    std::string const rule =
        "<validationfunc type='C' packagename='checks' functionname='accept'/>";
    std::string const key = "<key name=\"k\" visible=\"true\">";
    std::string const content = "<int32>" + valueXml("1") + "</int32></key>";
    std::string const group = groupXml("g", rule + intKey("x", "1"));
    auto const path = writeFile(folder() / "in", settingsXml("made", key + rule + content + group));
    auto const node = Settings::importAsStandaloneObject(toUString(path));
    Settings::createFactorySettingsFile(node->getChild("k"), toUString(target()), 7);
    EXPECT_EQ(node->getVersionNumber().value_or(0), 7u);
    EXPECT_EQ(flat(readFile(target())),
              flat(settingsXml("made", key + content + group, "visible=\"true\" version=\"7\"")));
}

}  // namespace
