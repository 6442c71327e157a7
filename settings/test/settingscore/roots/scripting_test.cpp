#include <settingscore/tree/ProductWorld.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

TEST(Scripting, NamesAreThoseOfVariables) {
    for (std::string const& name : Texts{"a", "Z9_z", "ending", std::string(63, 'x')}) {
        EXPECT_NO_THROW(ZSettings::validateSettingOrGroupName(name)) << name;
    }
    for (std::string const& name : Texts{"", "1a", "_a", "a-b", "a.b", "a b", "end", "\xc3\xa4",
                                         std::string("a\0b", 3), std::string(64, 'x')}) {
        expectThrow<exception::InvalidSettingOrGroupName>(
            [&] { ZSettings::validateSettingOrGroupName(name); },
            [&](auto const& e) { EXPECT_EQ(e.getInputNodeName(), name); });
    }
}

TEST(Scripting, MakesStandaloneNodesWithTheirProperties) {
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

}  // namespace
