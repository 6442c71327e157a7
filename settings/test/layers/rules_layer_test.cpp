#include <gtest/gtest.h>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/rules/RangeAndChoiceChecker.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/value/AnyBridge.hpp>

using namespace settings::core;

TEST(RulesLayer, JudgesAValueWithoutANode) {
    SettingsKeyMetaData<boost::any> const upToTen(1, 10, boost::none);
    detail::RangeAndChoiceChecker checker(nullptr, upToTen);
    auto const check = [&](boost::any value) {
        validateValueType<int>(value);
        ValueArraySizeValidator(1, 1)(value);
        settingscore::boostany::applyVisitor(checker, value, true);
    };
    EXPECT_NO_THROW(check(std::vector<int>{10}));
    EXPECT_THROW(check(11), exception::ValueIsNotInRange);
}
