#include <settingscore/tree/ProductWorld.hpp>

using namespace qbtest;

namespace {

class Scripting : public ProductWorld {};

TEST_F(Scripting, NamesAreThoseOfVariables) {
    auto const check = [](std::string const& name) {
        return ending([&] { ZSettings::validateSettingOrGroupName(name); });
    };
    for (std::string const& name : Texts{"a", "Z9_z", "ending", std::string(63, 'x')})
        EXPECT_EQ(check(name), "done");
    for (std::string const& name : Texts{"", "1a", "_a", "a-b", "a.b", "a b", "end", "\xc3\xa4",
                                         std::string("a\0b", 3), std::string(64, 'x')})
        EXPECT_EQ(check(name), "InvalidSettingOrGroupName(" + name + ")");
}

TEST_F(Scripting, MakesStandaloneNodesWithTheirProperties) {
    Validator const rule = CValidator("checks", "accept");
    for (int bits = 0; bits < 8; ++bits) {
        bool const leaf = bits & 1;
        SettingsProperties properties;
        properties.hidden = bits & 2;
        properties.readOnly = bits & 4;
        properties.validator = rule;
        for (auto const& node :
             {ZSettings::createSettingsNode("1 odd", leaf, !(bits & 2), rule, bits & 4),
              ZSettings::createSetting("1 odd", leaf, properties)}) {
            EXPECT_EQ(node->getName(), "1 odd");  // Names are checked apart.
            EXPECT_EQ(node->isLeafNode(), leaf);
            EXPECT_EQ(node->isVisible(), !properties.hidden);
            EXPECT_EQ(node->isReadOnly(), properties.readOnly);
            EXPECT_EQ(node->getValidator().which(), rule.which());
            EXPECT_FALSE(node->getParent());
        }
    }
}

TEST_F(Scripting, MakesKeysThatTakeAnyType) {
    SettingsProperties properties;
    properties.anyType = true;
    EXPECT_FALSE(ZSettings::createSetting("g", false, properties)->isLeafNode());
    userFile("p", "");
    boost::dynamic_pointer_cast<ZSettings>(ZSettings::createSetting("k", true, properties))
        ->setParent(product("p"));
    EXPECT_EQ(product("p")->getDataTypeIndex("k"), 25ul);
    for (auto const& [value, read] :
         std::vector<std::pair<any, std::string>>{{ustring(u"text"), "string text"}, {7, "7"}}) {
        EXPECT_EQ(setting("p.k", value), "done");
        freshRoot();
        EXPECT_EQ(shownAt("p.k", "user"), read);
        EXPECT_EQ(product("p")->getDataTypeIndex("k"), 25ul);
    }
}

}  // namespace
