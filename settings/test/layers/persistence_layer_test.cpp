#include <gtest/gtest.h>
#include <boost/make_shared.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <support/TempFolder.hpp>

using namespace settings::core;

TEST(PersistenceLayer, WritesATreeAndReadsItWithoutAnInstance) {
    qbtest::TempFolder const folder;
    qbtest::ScopedEnvironment environment;
    environment.set("QBHOST_ROOT", QB_SOURCE_DIR);
    auto const top = boost::make_shared<SettingsImpl>("p", false, true);
    auto const key = boost::make_shared<SettingsImpl>("k", true, true, ValueArraySizeValidator(),
                                                      &writeValues<int>, &validateValueType<int>,
                                                      Validator(), nullptr);
    key->setParentInternal(top);
    key->setDataTypeIndexInternal(7);
    key->setAnyInternal(5, "user");
    ustring const path = qf::filesystem::path((folder.path() / "p.settings").u16string()).str();
    SettingsImpl::createSettingsFileImpl(top, path, 2);
    auto const read = SettingsFile::loadSettingsObject(qf::filesystem::path(path));
    EXPECT_EQ(boost::any_cast<int>(read->getAny("k", "user")), 5);
    EXPECT_EQ(read->getVersionNumber().value_or(0), 2u);
    EXPECT_TRUE(SettingsFile::getSettingsTopLevelNodes({}).empty()) << "there are no directories";
}
