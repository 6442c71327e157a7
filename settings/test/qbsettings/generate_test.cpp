// Headers of typed keys. That they compile and say what the files say is looked at by
// customer/generated_keys.cpp.

#include <support/ProgramWorld.hpp>

namespace {

class GenerateTest : public qbtest::ProgramWorld {
protected:
    GenerateTest() {
        settingsFile(
            "factory/p/p.settings",
            R"(<key name="n"><int32><value>1</value><metadata><max>10</max></metadata></int32></key>
<settings name="g">
<key name="c" readonly="true"><string undef="true"><metadata><choices>x</choices></metadata></string></key>
<key name="d"><double><runtimedefault type="C" packagename="q" functionname="f"/></double></key>
</settings>
)");
    }
};

TEST_F(GenerateTest, TheHeaderIsThatOfTheFactoryFilesWhateverTheUserHas) {
    expectSession(R"($ qbsettings generate p --namespace app::keys | tee a | tail -n +15
namespace app::keys {

namespace p {

namespace g {

enum class C {
    x,
};
constexpr auto settingChoices(C) {
    return ::std::array<::settingscore::typed::Choice<C>, 1>{{
        {C::x, "x"},
    }};
}
/// string, one of x, read-only.
/// No default.
inline ::settingscore::typed::Key<::std::optional<C>> const c("p.g.c");

/// double.
/// Default computed by C q f.
inline ::settingscore::typed::Key<double> const d("p.g.d");

}  // namespace g

/// int32, at most 10.
/// Default '1'.
inline ::settingscore::typed::Key<::std::int32_t> const n("p.n");
inline constexpr ::std::int32_t nMax = 10;

}  // namespace p

}  // namespace app::keys
$ qbsettings set p.n 5 && qbsettings add p.mine --type bool true && qbsettings add-group q
$ qbsettings generate p --namespace app::keys | cmp - a
$ qbsettings generate ./factory/p/p.settings --namespace app::keys | cmp - a
$ qbsettings generate factory/p/p.settings --namespace app::keys --to b && cmp a b
$ qbsettings generate p --to b && wc -l <b && ls user
42
p.settings
q.settings
$ qbsettings get p.n
5
)");
}

TEST_F(GenerateTest, WhatIsNoProductGivesNoHeader) {
    settingsFile("factory/bad/bad.settings",
                 "<key name=\"n\"><int32><value>x</value></int32></key>");
    expectRefused(
        R"(generate g => 3 there is no setting 'g'; did you mean 'p.g'?
generate p.g => 2 'p.g' is a group; name its product
generate p.n => 1 'p.n' is a key, not a group
generate p --namespace app::class => 2 'app::class' is no name of a namespace
generate p --namespace app:: => 2 'app::' is no name of a namespace
generate p --namespace 'a b' => 2 'a b' is no name of a namespace
generate p --to none/b => 1 @/none/b cannot be written: No such file or directory
generate none.settings => 1 @/none.settings: cannot be opened: No such file or directory
)");
    expectSession(R"($ echo old > b; qbsettings generate bad --to b 2>&1 | tail -n 1; cat b
qbsettings: nothing was generated, because the settings could not be read completely
old
)");
}

}  // namespace
