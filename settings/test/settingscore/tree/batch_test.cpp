#include <support/TreeWorld.hpp>

using namespace qbtest;

namespace {

using Names = std::vector<std::pair<std::string, any>>;

class BatchTest : public TreeWorld {
protected:
    BatchTest() {
        std::string const body = intKey("a", "1") + intKey("b", "1") + intKey("c", "1");
        for (char const* product : {"p", "q"})
            factoryFile(product, "f.settings", body + groupXml("g", intKey("k", "1")));
        at("p.c")->setMetaData(SettingsKeyMetaData<any>(0, 9, {}));
    }
};

TEST_F(BatchTest, AllAreStoredAndSavedInTheirOrder) {
    Heard heard(root());
    noteSaves(heard);
    Names const batch = {{"p.a", 2}, {"q.a", 3}, {"p.g.k", Ints{4}}, {"p.b", 1}, {"p.a", 5}};
    EXPECT_EQ(root()->setMultiple(batch, "user"), BatchErrors());
    EXPECT_EQ(contents(root()), "p(a=5 b=1 c=1 g(k=4)) q(a=3 b=1 c=1 g(k=1))");
    EXPECT_EQ(heard.take(),
              "value a; save user:a; value a; save user:a; value k; save user:k; save user:b; "
              "value a; save user:a")
        << "the value in force of b is the same as before";
    EXPECT_EQ(root()->setMultiple(Names{{"p.a", 5}, {"p.b", 1}}, "user"), BatchErrors());
    EXPECT_EQ(heard.take(), "") << "what is stored already costs nothing";
}

TEST_F(BatchTest, OneRefusalStopsAllAndEachIsTold) {
    at("p.g")->setValidator(CValidator("checks", "refuse"));
    auto const files = userFiles();
    Heard heard(root());
    BatchErrors const expected = {
        {"q.x", "The calling node doesn't contain"},
        {"p.g.k",
         "Validation function throw. Reason: the check says no function=refuse libname=checks"},
        {"NULLOBJ", "The obj[3] passed in is NULL."},
        {"p.c", "The value passed in is not in the predefined range"},
        {"p.g", "Unknown Exception"},
        {"q.b", "The type of the value passed in is not on the supported list."},
    };
    Names const batch = {{"p.a", 2},  {"p.g.k", 2}, {"p.b", 2}, {"q.x", 2},
                         {"p.c", 10}, {"p.g", 2},   {"q.a", 2}, {"q.b", 'c'}};
    EXPECT_EQ(root()->setMultiple(batch, "user"), expected);
    EXPECT_EQ(root()->validateMultiple(batch), expected);

    // As an action the first refusal is thrown.
    auto const action = [](auto const& elements) {
        std::string const end = ending([&] { root()->setMultipleOrThrow(elements, "user"); });
        EXPECT_EQ(ending([&] { root()->validateMultipleOrThrow(elements); }), end);
        return end;
    };
    EXPECT_EQ(action(Names{{"p.a", 2}, {"p.c", 10}, {"p.b", 'c'}}),
              "ValueIsNotInRange(p.c, 10, 0, 9)");
    EXPECT_EQ(action(Names{{"p.c", 10}, {"p.x", 1}}), "InvalidNodePath(root, p.x)");

    // What is no refusal leaves either mode.
    Names const mismatch = {{"p.a", 2}, {"p.b", 2.5}};
    EXPECT_EQ(action(mismatch), "DataTypeNotMatch(int32, double)");
    EXPECT_EQ(ending([&] { root()->setMultiple(mismatch, "user"); }), action(mismatch));
    EXPECT_EQ(ending([&] { at("p")->setMultiple(Names{{"x", 1}}, ""); }), "UnSupportedLevel(p, )");
    EXPECT_EQ(contents(root()), "p(a=1 b=1 c=1 g(k=1)) q(a=1 b=1 c=1 g(k=1))");
    EXPECT_EQ(heard.take(), "");
    EXPECT_EQ(userFiles(), files);
}

TEST_F(BatchTest, AllAreJudgedByTheOldStateAndAFailureLeavesWhatWasStoredBefore) {
    at("q")->setValidator(CValidator("checks", "withinLimit"));
    Node const limit = makeKey("limit");
    limit->setParent(at("q"));
    limit->setValidator(CValidator("checks", "acceptAll"));
    at("q")->setAny("limit", 10, "session");
    Names const grown = {{"limit", 20}, {"a", 15}};
    EXPECT_EQ(ending([&] { at("q")->setMultipleOrThrow(grown, "session"); }),
              "ExceptionFromValidationFunction(q, a, 15, withinLimit, checks, above the limit)");
    EXPECT_EQ(at("q")->setMultiple(Names{{"limit", 5}, {"a", 9}}, "session"), BatchErrors());

    // A listener that throws stops the batch, but the others hear of what was stored, and the file
    // gets it.
    auto const connection = at("p.b")->addListener<SettingsValueChangeEvent>(
        [](SettingsEvent const&) { throw std::runtime_error("not listening"); });
    Heard heard(root());
    EXPECT_THROW(root()->setMultiple(Names{{"p.a", 2}, {"p.b", 2}, {"p.c", 2}}, "user"),
                 std::runtime_error);
    EXPECT_EQ(heard.take(), "value a; value b");
    EXPECT_EQ(contents(freshRoot()), "p(a=2 b=2 c=1 g(k=1)) q(a=1 b=1 c=1 g(k=1) limit=-)");
}

TEST_F(BatchTest, NoOtherWriterComesBetweenCheckAndStore) {
    at("p")->setMultiple(Names{{"a", 0}, {"b", 0}}, "session");
    at("p.b")->setValidator(ZValidator("p", "f"));
    // Each batch is accepted only if its values are those that follow the present ones.
    judgeWith([](auto const&, Parent const& parent, auto const&, any const& value) {
        int const a = boost::any_cast<int>(parent->getAny("a", ""));
        int const b = boost::any_cast<int>(parent->getAny("b", ""));
        if (a != b || boost::any_cast<int>(value) != b + 1)
            throw SettingsException("id", "not the next", "key");
    });
    std::atomic<int> stored{0};
    concurrently(4, [&](int) {
        for (int i = 1; i <= 40; ++i) {
            if (at("p")->setMultiple(Names{{"a", i}, {"b", i}}, "session").empty()) ++stored;
        }
    });
    EXPECT_GT(stored, 0);
    EXPECT_EQ(shownAt("p.a") + shownAt("p.b"), std::to_string(stored) + std::to_string(stored));
}

}  // namespace
