// Texts for people: files beside the factory's, in languages.

#include <support/ProgramWorld.hpp>

namespace {

class TextsTest : public qbtest::ProgramWorld {
protected:
    TextsTest() {
        settingsFile(
            "factory/p/p.settings",
            R"(<key name="width"><double><value>0.5</value><metadata><min>0.1</min><max>4</max></metadata></double></key>
<key name="mode"><string><value>fast</value><metadata><choices>fast</choices><choices>fine</choices></metadata></string></key>
<settings name="g"><key name="n"><int32 minArraySize="0" maxArraySize="0"/></key></settings>
)");
        run(R"(cat >factory/p/p.texts.json <<'END'
{
  "$schema": "anything",
  "": {"summary": "A product"},
  "width": {"summary": "How *wide*", "description": "One\n\n- two\\ ", "unit": "mm",
            "since": "3", "deprecated": "use p.mode"},
  "mode": {"summary": "How", "labels": {"fast": "At once", "fine": "With \"care\""}},
  "g": {"summary": "A group"}
}
END
echo '{"width": {"summary": "Breite"}, "mode": {"labels": {"fast": "Sofort"}}}' >factory/p/p.texts.de.json
echo '{"width": {"unit": "Millimeter"}, "g": {"summary": "Gruppn"}}' >factory/p/p.texts.de_AT.json)");
    }
};

TEST_F(TextsTest, EachMemberComesInTheLanguageThatIsNearest) {
    expectSession(R"($ width() { env "$@" qbsettings list --long p.width | cut -f 6,7; }
> width; width LC_ALL=de_AT.UTF-8@euro LANG=en; width LC_MESSAGES=de_CH; width LANG=en_GB.UTF-8
> width LC_ALL=C LANG=de_AT; width LC_ALL= LC_MESSAGES= LANG=de; width LANG=p/p.texts.de
mm→How *wide*
Millimeter→Breite
mm→Breite
mm→How *wide*
mm→How *wide*
mm→Breite
mm→How *wide*
$ LC_ALL=de_AT qbsettings describe p.mode p.g --json | grep -o '"texts":{[^}]*}*'
"texts":{"summary":"How","labels":{"fast":"Sofort","fine":"With \"care\""}}
"texts":{"summary":"Gruppn"}
)");
}

TEST_F(TextsTest, AreShownWhereKeysAre) {
    expectSession(
        R"($ qbsettings describe p.width | head -n 10 && qbsettings describe p.mode | grep label
name→p.width
kind→key
summary→How *wide*
description→One
description→
description→- two\\ 
unit→mm
since→3
deprecated→use p.mode
type→double
label→fast→At once
label→fine→With "care"
$ qbsettings list --long --depth 1 p; qbsettings list --long --json p.g
p.g→group→-→→-→-→A group
p.mode→string→factory→fast→one of fast, fine→-→How
p.width→double→factory→0.5→0.1 to 4→mm→How *wide*
[{"name":"p.g.n","type":"array of int32","level":"factory","value":[],"takes":"any number of values","unit":null,"summary":null}]
$ qbsettings find CARE with; qbsettings find TWO p.; qbsettings find sofort; LANG=de qbsettings find SOFORT
p.mode→string→factory→fast
p.width→double→factory→0.5
p.mode→string→factory→fast
! nothing was found
)");
}

TEST_F(TextsTest, APageHasAllOfAProductWhateverTheUserHas) {
    expectSession(
        R"($ qbsettings set p.width 2 && qbsettings add p.mine --type bool true && qbsettings describe --all p
# p

A product

Version 4 of the settings.

### `p.mode`

How

- Type: string
- Default: `fast`
- One of:
  - `fast`: At once
  - `fine`: With "care"

### `p.width`

How \*wide\*

**Deprecated:** use p.mode

One

- two\ 

Since 3.

- Type: double
- Takes: 0.1 to 4 mm
- Default: `0.5` mm

## `p.g`

A group

### `p.g.n`

- Type: array of int32
- Takes: any number of values
- Default: an empty array
$ qbsettings describe --all p --json | sed 's/},{/\n/g' | tail -n 1
"name":"p.g.n","type":"array of int32","takes":null,"default":[],"texts":null}]
$ qbsettings get p.width
2
)");
    expectRefused("describe --all p.g => 2 'p.g' is a group; name its product\n");
}

TEST_F(TextsTest, BecomeCommentsThatAreTheSameInEveryLanguage) {
    expectSession(
        R"($ qbsettings generate p >a; grep -B 11 -A 1 'const width' a; grep -A 3 'enum class' a; grep -B 1 'space g {' a
/// How *wide*
///
/// One
///
/// - two\.
/// In mm.
/// Since 3.
/// @deprecated use p.mode
///
/// double, 0.1 to 4.
/// Default '0.5'.
inline ::settingscore::typed::Key<double> const width("p.width");
inline constexpr double widthMin = 0.1;
enum class Mode {
    fast,  ///< At once
    fine,  ///< With "care"
};
/// A group
namespace g {
$ LANG=de_AT qbsettings generate p | cmp - a; (cd factory/p && LANG=de qbsettings generate p.settings) | cmp - a
)");
}

TEST_F(TextsTest, AFileThatIsNotGoodCostsItsTextsAlone) {
    expectSession(
        R"~($ rm factory/p/*.json; cd factory/p; long() { head -c $1 /dev/zero | tr '\0' x; }
> echo "{\"g\": {\"summary\": \"$(long 1025)\"}}" >p.texts.aa.json
> echo "{\"g\": {\"description\": \"$(long 65537)\"}}" >p.texts.ab.json
> echo '{"g": {"other": [[[[[[[[[[[[[[[[' >p.texts.ac.json
> echo '{"g": {"summary": "\u001b[2J"}}' >p.texts.ad.json
> echo '{"g": {"summary": "a"}, "g": {}}' >p.texts.ae.json
> printf '{"g":\n {"labels": "a"}}' >p.texts.af.json
> printf '{"g":\n "a"}' >p.texts.ag.json
> printf '{"g": {"summary": "\xff"}}' >p.texts.ah.json
> long 4194305 >p.texts.ai.json; mkfifo p.texts.aj.json; mkdir p.texts.ak.json; ln -s none p.texts.al.json
> for l in aa ab ac ad ae af ag ah ai aj ak al; do LANG=$l qbsettings list p.width --long | cut -f 4,7; done | uniq -c
     12 0.5→-
$ qbsettings check | sed 's/; none of the texts of the file are shown \[texts-fault]$//'
@/factory/p/p.texts.aa.json:1:19: warning: 'summary' is too long
@/factory/p/p.texts.ab.json:1:23: warning: 'description' is too long
@/factory/p/p.texts.ac.json:1:31: warning: is nested too deep
@/factory/p/p.texts.ad.json:1:19: warning: 'summary' has control characters
@/factory/p/p.texts.ae.json:1:25: warning: 'g' is there twice
@/factory/p/p.texts.af.json:2:15: warning: 'labels' wants an object
@/factory/p/p.texts.ag.json:2:4: warning: of 'g' an object is wanted
@/factory/p/p.texts.ah.json:1:20: warning: is no JSON: syntax error while parsing value - invalid string: ill-formed UTF-8 byte
@/factory/p/p.texts.ai.json: warning: is larger than 4 MiB
@/factory/p/p.texts.al.json: warning: is a link to nothing [never-read]
)~");
}

TEST_F(TextsTest, CheckTellsOfTextsForWhatIsNotThereAndOfKeysWithout) {
    expectSession(
        R"~($ qbsettings check && mkdir factory/q && cd factory/p && cp p.texts.json ../q/q.texts.json
> echo '{"widht": {}, "mode": {"labels": {"fast": "a", "fin": "b"}, "lables": {}}, "g": {"labels": {"a": "b"}}}' >p.texts.fr.json
> echo '{}' >p.texts.de-AT.json; echo '{}' >q.texts.json
> qbsettings list | wc -l; qbsettings check; qbsettings check p.texts.fr.json | cut -d : -f 3-
3
@/factory/p/p.texts.de-AT.json: warning: is never read, because 'de-AT' is no language as 'de' and 'de_AT' are [texts-unread]
@/factory/p/p.texts.fr.json:1:61: warning: p.mode: 'lables' is no text that is shown; did you mean 'labels'? [texts-unknown]
@/factory/p/p.texts.fr.json:1:93: warning: p.g: 'a' is none of its choices [texts-unknown]
@/factory/p/p.texts.fr.json:1:48: warning: p.mode: 'fin' is none of its choices; did you mean 'fine'? [texts-unknown]
@/factory/p/p.texts.fr.json:1:2: warning: there is no setting 'p.widht'; did you mean 'p.width'? [texts-unknown]
@/factory/p/q.texts.json: warning: is never read, because the product of this folder is 'p' [texts-unread]
61: warning: p.mode: 'lables' is no text that is shown; did you mean 'labels'? [texts-unknown]
93: warning: p.g: 'a' is none of its choices [texts-unknown]
48: warning: p.mode: 'fin' is none of its choices; did you mean 'fine'? [texts-unknown]
2: warning: there is no setting 'p.widht'; did you mean 'p.width'? [texts-unknown]
$ cd factory/p; rm *fr* *AT* q*; qbsettings check --strict; rm *.json; qbsettings check --strict --json
@/factory/p/p.texts.json: p.g.n: has no summary [texts-missing]
[{"kind":"fault","file":"@/factory/p/p.texts.json","line":null,"column":null,"message":"is not there: no text says what the keys of 'p' are for","code":"texts-missing","key":null}]
[1]
$ sed -i 's/<double>/<triple>/' factory/p/p.settings && qbsettings check | grep -c warning
0
[1]
)~");
}

/// The schema that editors get takes and refuses what the program does.
TEST_F(TextsTest, TheSchemaAgreesWithTheProgramAndTheExamplesWithBoth) {
    std::string const source = "S=" QB_SOURCE_DIR "/settings\n> ";
    expectSession("$ " + source + R"~(for d in toolbox radio/toolbox
> do SETTINGS_FACTORYDIR=$S/examples/$d qbsettings check --strict; done
)~");
    if (std::system("python3 -W ignore -c 'import jsonschema' 2>/dev/null") != 0)
        GTEST_SKIP() << "no validator of schemas is installed";
    expectSession("$ " + source + R"~(cat >refused.py <<'END'
> import json, sys, jsonschema
> schema = jsonschema.Draft7Validator(json.load(open(sys.argv[1])))
> for file in sys.argv[2:]:
>     if not schema.is_valid(json.load(open(file))): print(file)
> END
> refused() { python3 -W ignore $OLDPWD/refused.py $S/src/qbsettings/texts/texts.schema.json "$@"; }
> rm factory/p/*.json; cd factory/p; n=0; while read -r line; do echo "$line" >p.texts.x$((n++)).json; done <<'END'
> {"g": {"summary": "a\nb"}}
> {"g": {"summry": "a"}}
> {"g": {"unit": 1}}
> {"g": {"labels": {"a": null}}}
> {"g": []}
> {"g": {"description": "a\u0007b"}}
> {"g\u0001": {}}
> {"$schema": 1}
> []
> {"g": {"description": "a\n\tb", "labels": {}}, "$schema": ""}
> END
> for f in *.json; do qbsettings check $PWD/$f | cut -d : -f 1 | sed 's,.*/,,'; done >told
> refused *.json | diff - told && wc -l <told
> refused $S/examples/toolbox/*/*.texts*.json $S/examples/radio/toolbox/*/*.texts*.json
9
)~");
}

}  // namespace
