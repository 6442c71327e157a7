#include <gtest/gtest.h>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/Get.hpp>

namespace boostany = settingscore::boostany;

TEST(ValueLayer, ConvertsAndComparesByItself) {
    boost::any const array = std::vector<int>{3};
    EXPECT_EQ(boostany::get<int>(array, false), 3);
    EXPECT_EQ(boostany::get<double>(array, true), 3.0);
    EXPECT_THROW(boostany::get<double>(array, false), boostany::detail::TypeNotMatch);
    EXPECT_FALSE(boostany::isEqual(array, 3));
}
