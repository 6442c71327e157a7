#include <support/ProductWorld.hpp>

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

TEST_F(Scripting, MakesStandaloneNodesAndKeysThatTakeAnyType) {
    SettingsProperties properties;
    properties.readOnly = properties.hidden = true;
    auto const group = ZSettings::createSetting("g", false, properties);
    EXPECT_TRUE(group->isReadOnly());
    EXPECT_FALSE(group->isVisible() || group->isLeafNode() || group->getParent());
    properties = {};
    properties.anyType = true;
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
