#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include <support/BothReaders.hpp>
#include <support/RoundTrip.hpp>

namespace {

using namespace qbtest;

enum class Form { plain, other };

/// The plain reader goes that way; if it reads the file, the other one reads the same.
void expectForm(std::string const& file, Form form, std::string const& name) {
    Reading const plain = readPlainly(file);
    EXPECT_EQ(plain.isDone, form == Form::plain) << name;
    if (!plain.isDone) return;
    Reading const full = readValidating(file);
    EXPECT_TRUE(full.isDone) << name << " is refused: " << full.text;
    EXPECT_EQ(plain.text, full.text) << name;
}

/// Each file that the validating parser takes is plain, but for those named.
void expectPlainIfGood(std::string const& file, std::string const& name,
                       std::set<std::string> const& others = {}) {
    bool const isGood = readValidating(file).isDone;
    expectForm(file, isGood && others.count(name) == 0 ? Form::plain : Form::other, name);
}

TEST(PlainReader, ReadsTheFilesOfTheProjectAsTheOtherDoes) {
    // They hold an instruction and name types.
    std::set<std::string> const others = {"odd.settings"};
    std::filesystem::path const sources = std::filesystem::path(QB_SOURCE_DIR) / "settings";
    int count = 0;
    for (char const* const folder : {"examples", "fuzz/seeds"}) {
        for (auto const& entry : std::filesystem::recursive_directory_iterator(sources / folder)) {
            if (!entry.is_regular_file()) continue;
            std::string const all = readFile(entry.path());
            // Seeds can hold several files.
            std::istringstream stream(all);
            for (std::string file; std::getline(stream, file, '\0');) {
                if (file.find("<settings") == std::string::npos) continue;
                ++count;
                expectPlainIfGood(file, entry.path().filename().string(), others);
            }
        }
    }
    EXPECT_GT(count, 10);
}

TEST(PlainReader, ReadsTheExamplesOfTheManualAsTheOtherDoes) {
    std::ifstream manual(std::filesystem::path(QB_SOURCE_DIR) / "docs/file-format.md");
    std::string example;
    bool isInside = false;
    int count = 0;
    for (std::string line; std::getline(manual, line);) {
        if (line == "```xml") {
            isInside = true;
            example.clear();
        } else if (line == "```" && isInside) {
            isInside = false;
            ++count;
            std::string const file = example.rfind("<?xml", 0) == 0 ? example : fileText(example);
            expectPlainIfGood(file, example);
        } else if (isInside) {
            example += line + "\n";
        }
    }
    EXPECT_GT(count, 30);
}

// --- The rules of the plain form --------------------------------------------------------------

constexpr char nameSpace[] = "xmlns=\"urn:quillbyte.zenbar.settings\"";

std::string root(std::string const& attributes) { return "<settings " + attributes + "/>"; }

/// A file with a text in a value of the type.
std::string valued(std::string const& text, std::string const& type = "string") {
    return fileText(keyXml("k", type, valueXml(text)));
}

std::string tagged(std::string const& tags) { return fileText(tags); }

void expectAll(Form form, Texts const& files) {
    for (std::string const& file : files)
        expectForm(file, form, file);
}

TEST(PlainReader, KnowsHowFilesBeginAndEnd) {
    std::string const plain = root(nameSpace);
    std::string const xsi = " xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'";
    std::string const hint = " xsi:schemaLocation='urn:quillbyte.zenbar.settings ../settings.xsd'";
    expectAll(
        Form::plain,
        {plain, "\xef\xbb\xbf" + plain, " \r\n" + plain + "<!-- \xe2\x82\xac -->\n",
         "<?xml version='1.0'?>" + plain,
         "\xef\xbb\xbf<?xml version = \"1.0\"\tencoding='utf-8' ?>\n<!----><!-- - -->" + plain,
         "<!-- <?a b?> -->" + plain, valued("<![CDATA[<?a b?>]]>"), plain + "<!-- <?a b?> -->",
         root(nameSpace + xsi), root(hint + xsi + " name='p' " + nameSpace)});
    expectAll(Form::other, {
                               "",
                               "<settings name='p'/>",
                               root("xmlns='urn:other'"),
                               root(nameSpace + hint),
                               root(nameSpace + xsi + " xsi:schemaLocation='a b c'"),
                               root(nameSpace + std::string(" xmlns:x='urn:x'")),
                               "<key " + std::string(nameSpace) + " anytype='true'/>",
                               " <?xml version='1.0'?>" + plain,
                               "<?xml?>" + plain,
                               "<?xml version='1.1'?>" + plain,
                               "<?xml version='1.0'encoding='UTF-8'?>" + plain,
                               "<?xml version='&#49;.0'?>" + plain,
                               "<?xml version='1.0' encoding=''?>" + plain,
                               "<?xml version='1.0' encoding='ISO-8859-1'?>" + plain,
                               "<?xml encoding='UTF-8'?>" + plain,
                               "<?xml version='1.0' standalone='yes'?>" + plain,
                               "<!DOCTYPE settings>" + plain,
                               "<?a b?>" + plain,
                               plain + "<?a b?>",
                               "<!-- a -->" + plain + "<?a b?>",
                               plain + plain,
                               plain + "x",
                               plain + "&#32;",
                               plain + "<!-- a -- b -->",
                               plain + "<!-- a --->",
                               plain + "<!-- a",
                               plain + std::string(1, '\0'),
                               "x" + plain,
                               "<x:settings xmlns:x='urn:quillbyte.zenbar.settings'/>",
                               plain.substr(0, plain.size() - 1),
                               fileText("").substr(0, fileText("").size() - 2),
                           });
}

TEST(PlainReader, KnowsTagsAndAttributes) {
    expectAll(Form::plain,
              {tagged("<key name = 'k ' visible=\"a\tb\r\n'&#9;&lt;&#x20AC;\xe2\x82\xac\" ><string "
                      "undef='true' maxArraySize='0'\n/></key\n>"),
               tagged("<settings readonly='true' version='-1'><settings/></settings >"),
               tagged("<validationfunc functionname='f' type='C' packagename='&gt;'> <!-- a --> "
                      "</validationfunc>"),
               tagged("<additionalpath>a&amp;b</additionalpath><additionalpath>c</additionalpath>"),
               tagged("<key anytype='true'><key anytype='true' name=''/><int8/><bool/></key>")});
    expectAll(Form::other, {
                               tagged("<key name='a' name='b' anytype='true'/>"),
                               tagged("<key name='a'anytype='true'/>"),
                               tagged("<key name=a anytype='true'/>"),
                               tagged("<key name anytype='true'/>"),
                               tagged("<key name='&lt;' anytype='true'/>"),
                               tagged("<key name='&#10;' anytype='true'/>"),
                               tagged("<key name='<' anytype='true'/>"),
                               tagged("<key visible='<' anytype='true'/>"),
                               tagged("<key visible='&e;' anytype='true'/>"),
                               tagged("<key visible='\x01' anytype='true'/>"),
                               tagged("<key version='1' anytype='true'/>"),
                               tagged("<key xml:lang='en' anytype='true'/>"),
                               tagged("<key xsi:type='Key' anytype='true'/>"),
                               tagged("<key xmlns='urn:other' anytype='true'/>"),
                               tagged("<Key anytype='true'/>"),
                               tagged("< key anytype='true'/>"),
                               tagged("<key anytype='true'/ >"),
                               tagged("<key anytype='true'></settings>"),
                               tagged("<key anytype='true'>"),
                               tagged("<key anytype='true'>x</key>"),
                               tagged("<key anytype='true'>&#32;</key>"),
                               tagged("<key anytype='true'><![CDATA[ ]]></key>"),
                               tagged("<value/>"),
                               tagged("<int32/>"),
                               tagged("<key anytype='true'><min/></key>"),
                               tagged("<key><int32><min>1</min></int32></key>"),
                               tagged("<key><int32><value type='a'/></int32></key>"),
                               tagged("<key><int32><value><!-- --><key/></value></int32></key>"),
                               tagged("<key><int32><metadata a='b'/></int32></key>"),
                               tagged("<validationfunc functionname=\"'\"/>"),
                               tagged("<validationfunc><key/></validationfunc>"),
                               // What a handler refuses.
                               tagged("<settings><additionalpath/></settings>"),
                               tagged("<key/>"),
                               tagged("<settings version='x'/>"),
                               tagged("<settings/><settings/>"),
                           });
}

TEST(PlainReader, KnowsTexts) {
    expectAll(
        Form::plain,
        {valued(""),
         valued(" a\tb\r\nc\rd&#13;&#10;e\x7f\xc2\x85\xe2\x80\xa8\xf0\x9f\x98\x80&#x1F600;"),
         valued("&lt;&gt;&amp;&quot;&apos;]>]]&gt;"),
         valued("<![CDATA[a]]]]><![CDATA[>\r\nb<&]]]><!-- c -->d<![CDATA[]]>"),
         valued("1&#46;5", "double"), valued("1<!-- a -->2", "int32"), valued("tru&#101;", "bool"),
         valued("<![CDATA[7]]>", "int8"),
         tagged("<key><string><metadata><choices>a&amp;b</choices></metadata></string></key>"),
         valued(std::string(std::size_t(3) << 20, 'x'))});
    expectAll(Form::other, {
                               valued("]]>"),
                               valued("a]]]>"),
                               valued("&"),
                               valued("&e;"),
                               valued("&lt"),
                               valued("&#;"),
                               valued("&#x;"),
                               valued("&#X41;"),
                               valued("&#x110000;"),
                               valued("&#xD800;"),
                               valued("&#xFFFF;"),
                               valued("&#0;"),
                               valued("&#1;"),
                               valued("&#00000000000000000000000000000000000065;"),
                               valued("\x01"),
                               valued("\x1f"),
                               valued("\xef\xbf\xbe"),
                               valued("\xef\xbf\xbf"),
                               valued("\x80"),
                               valued("\xc3"),
                               valued("\xc0\x80"),
                               valued("\xc1\xbf"),
                               valued("\xe0\x9f\xbf"),
                               valued("\xed\xa0\x80"),
                               valued("\xf0\x8f\xbf\xbf"),
                               valued("\xf4\x90\x80\x80"),
                               valued("\xf8\x88\x80\x80\x80"),
                               valued("<![CDATA[a]]"),
                               valued("<![cdata[a]]>"),
                               valued("<b/>"),
                               valued("<?a b?>"),
                               // What a handler refuses; of a number's pieces each has to be one.
                               valued("-&#56;", "int8"),
                               valued("<![CDATA[]]>", "int8"),
                               valued("300", "int8"),
                               // The other one could tell it in parts.
                               valued(std::string(std::size_t(3) << 19, '1'), "double"),
                           });
}

TEST(PlainReader, KnowsWhatIsSaved) {
    ustring text;
    for (char16_t unit = 0x20; unit < 0x300; ++unit)
        text += unit;
    std::string body;
    settingscore::boostany::forEachElementType([&](auto wrapper) {
        std::string const type =
            settingscore::boostany::ValueTraits<typename decltype(wrapper)::Type>::name;
        body += keyXml(type, type, valueXml("1")) +
                keyXml(type + "Array", type, valueXml("0") + valueXml("1"), " maxArraySize='0'") +
                keyXml(type + "Default", type,
                       "<runtimedefault type='ZENBAR' packagename='p' functionname='f'/>");
    });
    body +=
        "<settings name='g' visible='true' readonly='true'>"
        "<key name='any' visible='true' readonly='true' anytype='true'/></settings>";
    NodePtr const top = ParseFolder().parse(fileText(body, "version='3'"));
    for (ustring const& each :
         {text, ustring(u"\t\n\r ]]>]]>&<"), ustring(u"\xd83d\xde00\x2028")}) {
        top->setAny("string", each, "user");
        expectForm(saved(top, "user"), Form::plain, "saved");
    }
}

}  // namespace
