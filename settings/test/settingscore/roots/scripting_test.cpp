#include <queue>

#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/tree/ProductWorld.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

class Scripting : public ProductWorld {};

TEST_F(Scripting, NamesAreThoseOfVariables) {
    for (std::string const& name :
         {std::string("a"), std::string("Z9_z"), std::string("ending"), std::string(63, 'x')}) {
        EXPECT_NO_THROW(ZSettings::validateSettingOrGroupName(name)) << name;
    }
    for (std::string const& name :
         {std::string(), std::string("1a"), std::string("_a"), std::string("a-b"),
          std::string("a.b"), std::string("a b"), std::string("end"), std::string("\xc3\xa4"),
          std::string("a\0b", 3), std::string(64, 'x')}) {
        expectThrow<exception::InvalidSettingOrGroupName>(
            [&] { ZSettings::validateSettingOrGroupName(name); },
            [&](auto const& e) {
                EXPECT_EQ(e.getInputNodeName(), name);
                EXPECT_STREQ(e.what(),
                             "Setting or group name should be a valid ZENBAR variable name");
            });
    }
}

TEST_F(Scripting, MakesStandaloneNodesWithTheirProperties) {
    Validator const rule = CValidator("checks", "accept");
    for (bool const leaf : {true, false}) {
        for (bool const visible : {true, false}) {
            for (bool const readOnly : {true, false}) {
                SettingsProperties properties;
                properties.hidden = !visible;
                properties.readOnly = readOnly;
                properties.validator = rule;
                for (auto const& node :
                     {ZSettings::createSettingsNode("1 odd", leaf, visible, rule, readOnly),
                      ZSettings::createSetting("1 odd", leaf, properties)}) {
                    EXPECT_EQ(node->getName(), "1 odd");  // Names are checked apart.
                    EXPECT_EQ(node->isLeafNode(), leaf);
                    EXPECT_EQ(node->isVisible(), visible);
                    EXPECT_EQ(node->isReadOnly(), readOnly);
                    EXPECT_EQ(node->getValidator().which(), rule.which());
                    EXPECT_FALSE(node->getParent());
                    EXPECT_FALSE(node->isConnectedToTheSettingsTree());
                }
            }
        }
    }
}

TEST_F(Scripting, ANewKeyIsAttachedAndAGroupTakesNoValue) {
    installPlot();
    auto const plot = product();
    auto const key = boost::dynamic_pointer_cast<ZSettings>(
        ZSettings::createSettingsNode("speed", true, true, Validator(), false));
    key->setParent(plot);
    plot->setAny("speed", 3, "user");
    EXPECT_EQ(valueOf<int>(plot, "speed", "user"), 3);
    auto const group = boost::dynamic_pointer_cast<ZSettings>(
        ZSettings::createSettingsNode("more", false, true, Validator(), false));
    group->setParent(plot);
    EXPECT_THROW(plot->setAny("more", 3, "user"), exception::NotAKeyName);
    EXPECT_TRUE(userFileExists("plot"));
}

TEST_F(Scripting, ReachesTheOperationsOfAnInstance) {
    installPlot();
    auto const tree = ZSettings::getZSettingsRoot(BlessedZcrID);
    EXPECT_EQ(tree, root());
    EXPECT_FALSE(ZSettings::createEmptySettingsFor(BlessedZcrID));
    EXPECT_EQ(ZSettings::getFactoryDir(BlessedZcrID), toUString(factoryDir()));
    EXPECT_EQ(ZSettings::getWorkgroupDir(BlessedZcrID), u"");
    EXPECT_EQ(ZSettings::getUserDir(BlessedZcrID), toUString(userDir()));
    ZSettings::setSettingsFileLocation(BlessedZcrID, ustring(u"/f"), ustring(u"/w"),
                                       ustring(u"/u"));
    EXPECT_EQ(ZSettings::getFactoryDir(BlessedZcrID), u"/f");
    EXPECT_EQ(ZSettings::getWorkgroupDir(BlessedZcrID), u"/w");
    EXPECT_EQ(ZSettings::getUserDir(BlessedZcrID), u"/u");
    ZSettings::setSettingsFileLocation(BlessedZcrID, {}, {}, {});

    tree->enableEventQueue(true);
    product()->setAny("width", 6, "session");
    std::queue<boost::shared_ptr<SettingsEvent const>> queue;
    ZSettings::eventQueue(queue, BlessedZcrID);
    ASSERT_EQ(queue.size(), 1u);
    EXPECT_EQ(queue.front()->getObj()->getName(), "width");
    EXPECT_EQ(ZSettings::reset(AnyZcrID), tree);
    EXPECT_NE(ZSettings::getZSettingsRoot(BlessedZcrID), tree);
}

}  // namespace
