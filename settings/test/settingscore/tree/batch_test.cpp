#include <array>
#include <atomic>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <settingscore/errors/MessageIds.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
using namespace qbtest;
using boost::any;
using TypeMismatch = qf::except::Exception<ZENBAR::settings::core::DataTypeNotMatch>;

namespace {

using Names = std::vector<std::pair<std::string, any>>;
using Nodes = std::vector<std::pair<boost::shared_ptr<Settings>, any>>;

class BatchTest : public TreeWorld {
protected:
    BatchTest() {
        for (char const* product : {"p", "q"}) {
            factoryFile(product, "settings.settings",
                        intKey("a", "1") + intKey("b", "1") + intKey("c", "1") +
                            "<settings name=\"g\" visible=\"true\">" + intKey("k", "1") +
                            "</settings>");
        }
        at("p.c")->setMetaData(SettingsKeyMetaData<any>(0, 9, {}));
    }
    static std::string values(std::string const& product) {
        return shown(at(product)->getAny("a", "")) + shown(at(product)->getAny("b", "")) +
               shown(at(product)->getAny("c", "")) + shown(at(product + ".g")->getAny("k", ""));
    }
};

TEST_F(BatchTest, AllAreStoredEachInItsOwnFile) {
    Heard heard(root());
    noteSaves();
    BatchErrors const errors = root()->setMultiple(
        Names{{"p.a", 2}, {"q.a", 3}, {"p.g.k", std::vector<int>{4}}, {"p.b", 1}, {"p.a", 5}},
        "user");
    EXPECT_EQ(errors, BatchErrors());
    EXPECT_EQ(values("p"), "5114");
    EXPECT_EQ(values("q"), "3111");
    EXPECT_EQ(heard.take(), (Texts{"value a", "value a", "value k", "value a"}))
        << "the value in force of b is the same as before";
    EXPECT_EQ(takeSaves(), (Texts{"user:a", "user:a", "user:k", "user:b", "user:a"}));
    EXPECT_EQ(root()->setMultiple(Names{{"p.a", 5}, {"p.b", 1}}, "user"), BatchErrors());
    EXPECT_EQ(heard.take(), Texts());
    EXPECT_EQ(takeSaves(), Texts()) << "what is stored already costs nothing";
    turnOnSettingsSaving();
    at("p")->setMultiple(std::map<std::string, any>{{"a", 6}, {"g.k", 7}}, "user");
    freshRoot();
    EXPECT_EQ(values("p"), "6117");
    EXPECT_EQ(values("q"), "1111");
}

TEST_F(BatchTest, OneRefusalStopsAllAndEachIsTold) {
    at("p.g")->setValidator(CValidator("checks", "refuse"));
    at("q.g")->setValidator(CValidator("checks", "noSuchFunction"));
    at("q")->setAny("a", 1, "user");
    auto const files = userFiles();
    Heard heard(root());
    std::string const size = "The array size is out of range ";
    BatchErrors const expected = {
        {"q.x", "The calling node doesn't contain"},
        {"p.g.k",
         "Validation function throw. Reason: the check says no function=refuse libname=checks"},
        {"NULLOBJ", "The obj[3] passed in is NULL."},
        {"p.c", "The value passed in is not in the predefined range"},
        {"p.g", "Unknown Exception"},
        {"q.g.k", "Unknown Exception"},
        {"q.b", "The type of the value passed in is not on the supported list."},
    };
    Names const batch = {{"p.a", 2}, {"p.g.k", 2}, {"p.b", 2},   {"q.x", 2},  {"p.c", 10},
                         {"p.g", 2}, {"q.a", 2},   {"q.g.k", 2}, {"q.b", 'c'}};
    EXPECT_EQ(root()->setMultiple(batch, "user"), expected);
    EXPECT_EQ(root()->validateMultiple(batch), expected);
    EXPECT_EQ(values("p"), "1111");
    EXPECT_EQ(values("q"), "1111");
    EXPECT_EQ(heard.take(), Texts());
    EXPECT_EQ(userFiles(), files);
}

TEST_F(BatchTest, AsAnActionTheFirstRefusalIsThrown) {
    auto const files = userFiles();
    Names const batch = {{"p.a", 2}, {"p.c", 10}, {"p.b", 'c'}};
    EXPECT_THROW(root()->setMultipleOrThrow(batch, "user"), exception::ValueIsNotInRange);
    EXPECT_THROW(root()->validateMultipleOrThrow(batch), exception::ValueIsNotInRange);
    for (bool const store : {true, false}) {
        expectThrow<exception::InvalidNodePath>(
            [&] {
                Names const unknown = {{"p.c", 10}, {"p.x", 1}};
                store ? root()->setMultipleOrThrow(unknown, "user")
                      : root()->validateMultipleOrThrow(unknown);
            },
            [](auto const& error) {
                EXPECT_EQ(error.getObjectInvovled(), root());
                EXPECT_EQ(error.getInvalidName(), "p.x");
            });
    }
    BatchErrors const null = {{"NULLOBJ", "The obj[1] passed in is NULL."}};
    Nodes const withNull = {{at("p.a"), 2}, {nullptr, 2}};
    EXPECT_EQ(root()->setMultipleOrThrow(withNull, "user"), null) << "told, not thrown";
    EXPECT_EQ(root()->validateMultipleOrThrow(withNull), null);
    EXPECT_EQ(values("p"), "1111");
    EXPECT_EQ(userFiles(), files);
}

TEST_F(BatchTest, WhatIsNoRefusalLeavesEitherMode) {
    Names const mismatch = {{"p.a", 2}, {"p.b", 2.5}};
    EXPECT_THROW(root()->setMultiple(mismatch, "user"), TypeMismatch);
    EXPECT_THROW(root()->setMultipleOrThrow(mismatch, "user"), TypeMismatch);
    EXPECT_THROW(root()->validateMultiple(mismatch), TypeMismatch);
    at("p.b")->setValidator(CValidator("checks", "fail"));
    EXPECT_THROW(root()->setMultiple(Names{{"p.b", 2}}, "user"), std::runtime_error);
    EXPECT_EQ(values("p"), "1111");
    for (Names const& batch : {Names{}, Names{{"p.c", 10}}, Names{{"p.x", 1}}}) {
        expectThrow<exception::UnSupportedLevel>(
            [&] { at("p")->setMultiple(batch, ""); },
            [](auto const& error) { EXPECT_EQ(error.getObjectInvovled(), at("p")); });
        expectThrow<exception::CantModifyValuesOnReadOnlyLevel>(
            [&] { at("p")->setMultiple(batch, "factory"); },
            [](auto const& error) {
                EXPECT_EQ(error.getObjectInvovled(), at("p"));
                EXPECT_EQ(error.getLevelToModify(), "factory");
            });
    }
    EXPECT_EQ(at("p")->setMultiple(Names{}, "user"), BatchErrors());
    EXPECT_EQ(at("p")->validateMultiple(Nodes{}), BatchErrors());
}

TEST_F(BatchTest, TheSameKeyTwiceIsJudgedByTheOldStateBothTimes) {
    at("p")->setValidator(CValidator("checks", "withinLimit"));
    attachedKey("limit", at("p"));
    at("p.limit")->setValidator(CValidator("checks", "acceptAll"));
    at("p")->setAny("limit", 10, "session");
    EXPECT_THROW(at("p")->setMultipleOrThrow(Names{{"limit", 20}, {"a", 15}}, "session"),
                 exception::ExceptionFromValidationFunction);
    EXPECT_EQ(at("p")->setMultiple(Names{{"limit", 5}, {"a", 10}, {"a", 9}}, "session"),
              BatchErrors());
    EXPECT_EQ(values("p").substr(0, 1), "9");
}

TEST_F(BatchTest, AValueTakesTheShapeOfItsKeyInPlace) {
    std::array<Settings::NodeValue, 2> elements{
        {{at("p.a"), std::vector<int>{3}}, {at("p.b"), std::vector<int>{4}}}};
    EXPECT_EQ(root()->multipleValidateImpl(elements.data(), elements.data() + 2, true),
              BatchErrors());
    EXPECT_EQ(shown(elements[0].second), "3");
    EXPECT_EQ(values("p"), "1111");
}

TEST_F(BatchTest, AFailedSaveOrListenerLeavesWhatWasStoredBefore) {
    auto const files = userFiles();
    int saves = 0;
    SettingsImpl::setSaveFunc([&](auto const*, auto const&, auto const&) {
        if (++saves == 2) throw std::runtime_error("the disk is full");
    });
    Names const batch = {{"p.a", 2}, {"p.b", 2}, {"p.c", 2}};
    EXPECT_THROW(root()->setMultiple(batch, "user"), std::runtime_error);
    EXPECT_EQ(values("p"), "2211");
    EXPECT_EQ(userFiles(), files);
    turnOnSettingsSaving();

    Heard later(root());
    auto const connection = at("q.b")->addListener(boost::function<void(SettingsEvent const&)>(
        [](SettingsEvent const&) { throw std::runtime_error("not listening"); }));
    Heard last(root());
    EXPECT_THROW(root()->setMultiple(Names{{"q.a", 2}, {"q.b", 2}, {"q.c", 2}}, "user"),
                 std::runtime_error);
    EXPECT_EQ(values("q"), "2211");
    EXPECT_EQ(later.take(), (Texts{"value a", "value b"}));
    EXPECT_EQ(last.take(), (Texts{"value a", "value b"}));
    freshRoot();
    EXPECT_EQ(values("q"), "2111") << "what was saved before stays saved";
}

TEST_F(BatchTest, ADefaultThatFailsSkipsItsElementAlone) {
    CRunTimeDefault wrongType("defaults", "giveDouble");
    wrongType.setBelongingLevel("user");
    at("p.b")->setRunTimeDefault(wrongType);
    EXPECT_EQ(root()->setMultiple(Names{{"p.a", 2}, {"p.b", 2}, {"p.c", 2}}, "session"),
              BatchErrors());
    at("p.b")->setRunTimeDefault(RunTimeDefault());
    EXPECT_EQ(values("p"), "2121");
}

TEST_F(BatchTest, NoOtherWriterComesBetweenCheckAndStore) {
    TimeLimit const limit;
    at("p")->setAny("a", 0, "session");
    at("p")->setAny("b", 0, "session");
    at("p.b")->setValidator(ZValidator("p", "f"));
    // Each batch is accepted only if its values are those that follow the present ones.
    ScriptedValidators const scripts(
        [](auto const&, ScriptedValidators::Parent const& parent, auto const&, any const& value) {
            int const a = boost::any_cast<int>(parent->getAny("a", ""));
            int const b = boost::any_cast<int>(parent->getAny("b", ""));
            if (a != b || boost::any_cast<int>(value) != b + 1) {
                throw SettingsException("id", "not the next", "key");
            }
        });
    std::atomic<int> stored{0};
    onThreads(4, [&](int) {
        for (int i = 1; i <= 40; ++i) {
            if (at("p")->setMultiple(Names{{"a", i}, {"b", i}}, "session").empty()) ++stored;
        }
    });
    EXPECT_EQ(values("p").substr(0, 2 * std::to_string(stored).size()),
              std::to_string(stored) + std::to_string(stored));
    EXPECT_GT(stored, 0);
}

}  // namespace
