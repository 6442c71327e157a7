#pragma once

#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <boost/any.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

#include "../../support/TempFolder.hpp"

namespace qbtest {

using settings::core::SettingsImpl;
using Node = boost::shared_ptr<SettingsImpl>;

inline Node makeNode(std::string const& name, bool isLeaf, Node const& parent = {}) {
    auto node = boost::make_shared<SettingsImpl>(name, isLeaf, true);
    if (parent) node->setParentInternal(parent);
    return node;
}

inline Node makeGroup(std::string const& name, Node const& parent = {}) {
    return makeNode(name, false, parent);
}

inline Node makeKey(std::string const& name, Node const& parent = {}) {
    return makeNode(name, true, parent);
}

/// Runs `action`, which is to throw a T; hands the exception to `look`.
template <class T, class Action, class Look>
void expectThrow(Action&& action, Look&& look) {
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (T const& error) {
        look(error);
    }
}

/// Lets the host find the libraries that are built for the tests.
class WithPlugins : public ::testing::Test {
protected:
    WithPlugins() { environment_.set("QBHOST_LIBRARY_PATH", QB_TEST_PLUGIN_DIR); }
    ScopedEnvironment& environment() { return environment_; }

private:
    ScopedEnvironment environment_;
};

}  // namespace qbtest
