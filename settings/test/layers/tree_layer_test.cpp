#include <gtest/gtest.h>
#include <boost/make_shared.hpp>
#include <settingscore/errors/MergeExceptions.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

using namespace settings::core;
using Node = boost::shared_ptr<SettingsImpl>;

namespace {

Node make(std::string const& name, bool isLeaf, Node const& parent = {}) {
    auto node = boost::make_shared<SettingsImpl>(name, isLeaf, true);
    node->setParentInternal(parent);
    return node;
}

}  // namespace

TEST(TreeLayer, KeepsValuesInMemoryWithoutAFile) {
    Node const group = make("g", false);
    Node const key = make("k", true, group);
    key->setMetaData(SettingsKeyMetaData<boost::any>(1, 10, boost::none));
    group->setAny("k", 5, "user");
    group->setAny("k", 6, "session");
    EXPECT_THROW(group->setAny("k", 11, "user"), exception::ValueIsNotInRange);
    EXPECT_EQ(boost::any_cast<int>(group->getAny("k", "")), 6);
    group->unset("k", "session");
    EXPECT_EQ(boost::any_cast<int>(group->getAny("k", "")), 5);
    EXPECT_FALSE(group->addListener([](SettingsEvent const&) {})) << "no root, no events";

    Node const other = make("other", false);
    make("k", true, other)->setAnyInternal(7, "user");
    make("added", true, other)->setAnyInternal(8, "user");
    group->mergeDescendants(other, "user");
    EXPECT_EQ(boost::any_cast<int>(group->getAny("k", "")), 5);
    EXPECT_EQ(boost::any_cast<int>(group->getAny("added", "")), 8);
    group->removeKey("added");
    EXPECT_EQ(group->getChildren().size(), 1u);
}
