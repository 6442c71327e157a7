#include <qbsettings/commandline/Options.hpp>

#include <CLI/CLI.hpp>
#include <qbsettings/commandline/Words.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

namespace {

void requireUtf8(std::string const& text) {
    if (!isUtf8(text)) throw Failure(inQuotes(asLine(text)) + " is not UTF-8");
}
void requireUtf8(std::optional<std::string> const& text) {
    if (text) requireUtf8(*text);
}
void requireUtf8(std::vector<std::string> const& texts) {
    for (std::string const& text : texts)
        requireUtf8(text);
}

}  // namespace

template <class Word>
void Options::keep(Word& word, Content content) {
    atTheEnd_.emplace_back([&word, content] {
        unmark(word);
        if (content == Content::text) requireUtf8(word);
    });
}

template <class Word>
void Options::positional(char const* kind, Word& word, Is is, Content content, char const* what) {
    app_.add_option(kind, word, what)->required(is == Is::required)->type_name("");
    keep(word, content);
}

void Options::name(std::string& name, char const* what) {
    positional("NAME", name, Is::required, Content::text, what);
}

void Options::name(std::optional<std::string>& name, char const* what) {
    positional("NAME", name, Is::optional, Content::text, what);
}

void Options::names(std::vector<std::string>& names, Is is, char const* what) {
    positional("NAME", names, is, Content::text, what);
}

void Options::words(std::vector<std::string>& words, char const* what) {
    positional("WORD", words, Is::required, Content::text, what);
}

void Options::nameBegin(std::string& begin, char const* what) {
    positional("NAME", begin, Is::optional, Content::bytes, what);
}

void Options::values(std::vector<std::string>& values, Is is, char const* what) {
    positional("VALUE", values, is, Content::text, what);
}

void Options::file(std::string& file, Is is, char const* what) {
    positional("FILE", file, is, Content::bytes, what);
}

void Options::files(std::vector<std::string>& files, char const* what) {
    positional("FILE", files, Is::optional, Content::bytes, what);
}

void Options::side(char const* kind, std::string& word, char const* what) {
    positional(kind, word, Is::optional, Content::bytes, what);
}

void Options::text(char const* option, std::string& text, Is is, char const* kind,
                   char const* what) {
    app_.add_option(option, text, what)->required(is == Is::required)->type_name(kind);
    keep(text, Content::text);
}

void Options::level(std::string& level, char const* what) {
    text("--level", level, Is::optional, "LEVEL", what);
}

void Options::number(char const* option, std::optional<unsigned>& number, char const* what) {
    app_.add_option(option, number, what)->type_name("NUMBER");
}

void Options::flag(char const* option, bool& flag, char const* what) {
    app_.add_flag(option, flag, what);
}

void Options::json() { flag("--json", flags_.json, "Print one line of JSON"); }

void Options::replaceBroken() {
    flag("--replace-broken", flags_.replaceBroken,
         "Set a user file that cannot be read aside, with all its values, and go on");
}

void Options::target(std::string& file, bool& force) {
    app_.add_option("--to", file, "File to write")->required()->type_name("FILE");
    keep(file, Content::bytes);
    flag("--force", force, "Replace the file if it is there");
}

void Options::finish() {
    for (auto const& work : atTheEnd_)
        work();
}

}  // namespace qbsettings
