#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <settingscore/tree/Settings.hpp>
#include <support/TempFolder.hpp>

namespace qbtest {

/// What a run of the program left: the path of the test's folder stands as "@".
struct Outcome {
    int status = -1;
    std::string out;
    std::string err;

    friend bool operator==(Outcome const& a, Outcome const& b) {
        return a.status == b.status && a.out == b.out && a.err == b.err;
    }
    friend std::ostream& operator<<(std::ostream& stream, Outcome const& run) {
        return stream << "status " << run.status << "\n--- out\n"
                      << run.out << "--- err\n"
                      << run.err << "---";
    }
};

inline Outcome printed(std::string const& out) { return {0, out, ""}; }
inline Outcome failed(int status, std::string const& message) {
    return {status, "", message.empty() ? "" : "qbsettings: " + message + "\n"};
}

/// A temporary world for the program: factory folder `factory/`, user folder `user/`, home `home/`.
class ProgramWorld : public ::testing::Test {
protected:
    ProgramWorld() {
        for (auto const& directory : {factoryDir(), userDir(), folder() / "home"}) {
            std::filesystem::create_directories(directory);
        }
        environment_.set("SETTINGS_FACTORYDIR", factoryDir().string());
        environment_.set("SETTINGS_USERDIR", userDir().string());
        environment_.set("HOME", (folder() / "home").string());
        environment_.set("QBHOST_ROOT", QB_SOURCE_DIR);
        environment_.set("QBHOST_LIBRARY_PATH", QB_TEST_PLUGIN_DIR);
        for (char const* name : {"SETTINGS_WORKGROUPDIR", "ZENBAR_PREFDIR",
                                 "DISABLE_PREFCOPY3RELEASES", "QBHOST_LOG"}) {
            environment_.unset(name);
        }
    }

    std::filesystem::path const& folder() const { return folder_.path(); }
    std::filesystem::path factoryDir() const { return folder() / "factory"; }
    std::filesystem::path userDir() const { return folder() / "user"; }
    std::filesystem::path userFile(std::string const& product) const {
        return userDir() / (product + ".settings");
    }
    ScopedEnvironment& environment() { return environment_; }

    static std::string xml(std::string const& name, std::string const& body,
                           std::string const& attributes = "visible=\"true\" ") {
        using settings::core::Settings;
        return Settings::settingsXMLFileHeader + "\n<settings name=\"" + name + "\" " + attributes +
               Settings::settingsSchemaInfo + ">\n" + body + "</settings>\n";
    }
    void factoryFile(std::string const& product, std::string const& body,
                     std::string const& attributes = "visible=\"true\" ") const {
        writeFile(factoryDir() / product / (product + ".settings"), xml(product, body, attributes));
    }
    static std::string key(std::string const& name, std::string const& type,
                           std::string const& inner, std::string const& typeAttributes = "",
                           std::string const& keyAttributes = " visible=\"true\"") {
        return "<key name=\"" + name + "\"" + keyAttributes + "><" + type + typeAttributes + ">" +
               inner + "</" + type + "></key>\n";
    }

    /// Starts the program; `input` names the file that is its standard input, if not empty.
    pid_t start(std::vector<std::string> const& arguments, std::string const& tag,
                std::string const& input = "/dev/null") const {
        std::vector<char*> words;
        std::string program = QB_SETTINGS_PROGRAM;
        words.push_back(program.data());
        for (std::string const& word : arguments)
            words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        std::string const out = outputFile(tag, "out");
        std::string const err = outputFile(tag, "err");
        pid_t const child = ::fork();
        if (child == 0) {
            bool const ready = redirect(input, O_RDONLY, 0) &&
                               redirect(out, O_WRONLY | O_CREAT | O_TRUNC, 1) &&
                               redirect(err, O_WRONLY | O_CREAT | O_TRUNC, 2);
            if (ready) ::execv(words[0], words.data());
            ::_exit(127);
        }
        return child;
    }
    Outcome finish(pid_t child, std::string const& tag) const {
        int status = 0;
        ::waitpid(child, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status),
                plain(readFile(outputFile(tag, "out"))), plain(readFile(outputFile(tag, "err")))};
    }
    Outcome run(std::vector<std::string> const& arguments) const {
        return finish(start(arguments, "run"), "run");
    }
    Outcome runWith(std::string const& input, std::vector<std::string> const& arguments) const {
        std::string const file = writeFile(folder() / "input", input).string();
        return finish(start(arguments, "run", file), "run");
    }

private:
    static bool redirect(std::string const& file, int flags, int descriptor) {
        int const opened = ::open(file.c_str(), flags, 0600);
        return opened >= 0 && ::dup2(opened, descriptor) >= 0;
    }
    std::string outputFile(std::string const& tag, char const* what) const {
        return (folder() / (tag + "." + what)).string();
    }
    std::string plain(std::string text) const {
        std::string const path = folder().string();
        for (std::size_t at = text.find(path); at != std::string::npos; at = text.find(path)) {
            text.replace(at, path.size(), "@");
        }
        return text;
    }

    TempFolder folder_;
    ScopedEnvironment environment_;
};

}  // namespace qbtest
