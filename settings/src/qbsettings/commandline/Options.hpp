#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace qbsettings {

struct Flags;

/// What one command takes from the command line. Each text goes to the variable that it is declared
/// with, which has to live until `finish`; one that is absent stays as it is.
class Options {
public:
    enum class Is { required, optional };

    /// `flags` are set where they are asked for.
    Options(CLI::App& app, Flags& flags) : app_(app), flags_(flags) {}

    // --- Words that stand by their place, in the order of the calls ---

    /// @{
    /// Full names of settings.
    void name(std::string& name, char const* what);
    void name(std::optional<std::string>& name, char const* what);
    void names(std::vector<std::string>& names, Is is, char const* what);
    /// @}
    /// The beginning of a name, with any bytes.
    void nameBegin(std::string& begin, char const* what);
    /// Any words.
    void words(std::vector<std::string>& words, char const* what);
    /// The texts of a value.
    void values(std::vector<std::string>& values, Is is, char const* what);
    /// @{
    /// Paths, as the bytes that the system takes.
    void file(std::string& file, Is is, char const* what);
    void files(std::vector<std::string>& files, char const* what);
    /// @}
    /// The name of a level or a path, which the help calls `kind`; it may be absent.
    void side(char const* kind, std::string& word, char const* what);

    // --- Options ---

    /// An option with a text, such as "--into", whose kind the help calls `kind`.
    void text(char const* option, std::string& text, Is is, char const* kind, char const* what);
    void level(std::string& level, char const* what);
    void number(char const* option, std::optional<unsigned>& number, char const* what);
    void flag(char const* option, bool& flag, char const* what);
    /// "--json".
    void json();
    /// "--replace-broken".
    void replaceBroken();
    /// "--to" and "--force".
    void target(std::string& file, bool& force);

    /// To be called when the command line was read: takes the marks of the words off again.
    /// @throws Failure for a text that is not UTF-8
    void finish();

private:
    enum class Content { text, bytes };

    template <class Word>
    void positional(char const* kind, Word& word, Is is, Content content, char const* what);
    /// What is to be done with a word when the command line was read.
    template <class Word>
    void keep(Word& word, Content content);

    CLI::App& app_;
    Flags& flags_;
    std::vector<std::function<void()>> atTheEnd_;
};

}  // namespace qbsettings
