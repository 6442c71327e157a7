// The manual of the file format: what it shows loads, and what it quotes is what is reported.

#include <set>

#include <support/ProgramWorld.hpp>

namespace {

using Manual = qbtest::ProgramWorld;

/// The content of the code block whose fence stands at `at`, which goes behind the block.
std::string takeBlock(std::string const& text, std::size_t& at) {
    std::size_t const begin = text.find('\n', at) + 1;
    std::size_t const end = text.find("\n```\n", begin) + 1;
    at = end + 4;
    return text.substr(begin, end - begin);
}

/// The last words in backquotes.
std::string lastQuoted(std::string const& text) {
    std::size_t const end = text.rfind('`');
    std::size_t const begin = text.rfind('`', end - 1) + 1;
    return text.substr(begin, end - begin);
}

/// A block with messages behind it is a mistake. All others load together: whole files by the path
/// in front of them, and the rest as a product each.
TEST_F(Manual, ShowsWhatLoadsAndQuotesWhatIsReported) {
    std::string const manual = qbtest::readFile(QB_SOURCE_DIR "/docs/file-format.md");
    std::string script;
    std::string mistakes;
    std::string messages;
    std::set<std::string> products;
    int number = 0;
    for (std::size_t at = 0; (at = manual.find("```xml\n", at)) != std::string::npos;) {
        std::string const before = manual.substr(0, at);
        std::string const block = takeBlock(manual, at);
        bool const isWhole = block.rfind("<?xml", 0) == 0;
        std::string const name = "e" + std::to_string(++number);
        std::string file = "toolbox/" + name + "/" + name + ".settings";
        if (manual.compare(at, 8, "```text\n") == 0) {
            file = name + "/plotter.settings";
            mistakes += " " + file;
            messages += takeBlock(manual, at);
        } else if (isWhole) {
            file = lastQuoted(before);
        }
        if (isWhole) {
            script += "install -D /dev/stdin " + file + " <<'END'\n" + block + "END\n";
        } else {
            settingsFile(file, block);
        }
        if (file.rfind("toolbox/", 0) == 0) products.insert(file.substr(0, file.rfind('/')));
    }
    products.erase("toolbox/shared-parts");
    ASSERT_EQ(run(script), "");
    // The list shows that what was checked was there.
    expectSession(
        R"($ export SETTINGS_FACTORYDIR=$PWD/toolbox && qbsettings check
> (qbsettings list || true) 2>/dev/null | cut -d . -f 1 | sort -u | wc -l
)" + std::to_string(products.size()) +
        "\n$ qbsettings check" + mistakes + R"( | sed -E "s,$PWD/e[0-9]+/,,g"
)" + messages +
        R"([1]
$ export SETTINGS_FACTORYDIR=$PWD/toolbox SETTINGS_USERDIR=$PWD/new
> qbsettings set plotter.lineWidth 0.5 && cmp user/plotter.settings new/plotter.settings
)");
}

}  // namespace
